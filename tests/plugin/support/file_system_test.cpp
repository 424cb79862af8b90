#include "support/file_system.h"

#include "plugin/plugin_test.h"

#include <system/drive_map.h>
#include <windows.h>

namespace corrivane::test {
namespace {

using FileSystem = PluginTest;

TEST_F(FileSystem, ExistenceTellsFilesFromFolders) {
    write_file(on_disk("out\\a.png"), "image");
    const struct {
        const char* path;
        bool is_file;
        bool is_folder;
    } cases[] = {
        {"C:\\out", false, true},
        {"C:\\out\\", false, false},
        {"C:/out/a.png", true, false},
        {"C:\\out\\b.png", false, false},
        {"C:\\none\\a", false, false},
        {"\\\\server\\share\\a.png", false, false},
    };
    for (const auto& [path, is_file, is_folder] : cases) {
        EXPECT_EQ(file_exists(path), is_file) << path;
        EXPECT_EQ(directory_exists(path), is_folder) << path;
    }
}

TEST_F(FileSystem, WhatTheSystemCannotTellIsAnErrorOfTheFileTest) {
    const std::string path = "C:\\out\\a|b.png";
    EXPECT_EQ(message_of([&] { file_exists(path); }),
              "file_exists: Could not get the file attributes of \"" + path +
                  "\": " + get_system_error_message(ERROR_INVALID_NAME));
    EXPECT_FALSE(directory_exists(path));
}

TEST_F(FileSystem, TreesAreCreatedFromTheTopDown) {
    for (const std::string path : {"C:\\renders\\shot", "C:/renders/other/a/b"}) {
        create_directory_tree(path + "\\");
        EXPECT_TRUE(directory_exists(path)) << path;
        create_directory_tree(path);
    }
    TemporaryFolder network;
    map_network(network.path());
    std::filesystem::create_directories(network.path() / "server/share");
    create_directory_tree("\\\\server\\share\\a\\b");
    EXPECT_TRUE(directory_exists("\\\\server\\share\\a\\b"));
}

TEST_F(FileSystem, TreesThatCannotBeCreatedArePassedOver) {
    create_directory_tree("");
    create_directory_tree("Q:\\renders\\shot");
    write_file(on_disk("file"), "not a folder");
    create_directory_tree("C:\\file\\shot");
    EXPECT_FALSE(directory_exists("C:\\file\\shot"));
    std::string deep = "C:";
    for (int i = 0; i < 100'000; ++i)
        deep += "\\a";
    create_directory_tree(deep);
    EXPECT_TRUE(directory_exists(deep.substr(0, 240))) << "ancestors come first, as far as the system goes";
    EXPECT_TRUE(message_of([] { create_directory_tree("C:\\bad:name\\shot"); }).starts_with("invalid name"));
}

}  // namespace
}  // namespace corrivane::test
