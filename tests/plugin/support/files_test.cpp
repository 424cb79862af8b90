#include "plugin/plugin_test.h"
#include "support/file_system.h"
#include "support/filename_utilities.h"

#include <system/drive_map.h>
#include <windows.h>

#include <boost/filesystem/exception.hpp>
#include <differences.h>

namespace corrivane::test {
namespace {

TEST(FilenameUtilities, NormalizedPathsHaveSingleBackslashesAndKeepANetworksPair) {
    const std::pair<std::string, std::string> cases[] = {{"", ""},
                                                         {"/", "\\"},
                                                         {"C:/out//shot/a.exr", "C:\\out\\shot\\a.exr"},
                                                         {"//host/s/a.exr", "\\\\host\\s\\a.exr"},
                                                         {"/\\server//x", "\\\\server\\x"},
                                                         {"\\\\\\\\server", "\\\\\\server"},
                                                         {"a\\\\\\b", "a\\\\b"}};
    for (const auto& [path, normalized] : cases)
        EXPECT_EQ(normalize_path(path), normalized) << path;
}

TEST(FilenameUtilities, ParentAndFinalElementOfAPath) {
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {"C:\\out\\shot\\a.exr", "C:\\out\\shot", "a.exr"},
        {"C:/out//a.exr", "C:\\out", "a.exr"},
        {"C:\\out", "C:\\", "out"},
        {"C:\\", "C:", "/"},
        {"C:", "", "C:"},
        {"C:a.exr", "C:", "a.exr"},
        {"a.exr", "", "a.exr"},
        {"", "", ""},
        {".", "", "."},
        {"\\a.exr", "\\", "a.exr"},
        {"out\\.\\shot\\a.exr", "out\\shot", "a.exr"},
        {"out\\..\\a.exr", "out\\..", "a.exr"},
        {"\\\\host\\s\\a.exr", "\\\\host\\s", "a.exr"},
        {"\\\\host\\s", "\\\\host\\", "s"},
        {"\\\\host", "", "//host"}};
    for (const auto& [path, parent, element] : cases) {
        EXPECT_EQ(get_directory_from_path(path), parent) << path;
        EXPECT_EQ(get_filename_from_path(path), element) << path;
    }
    EXPECT_EQ(get_filename_without_extension(parsed_path("out/a.0001.exr", name_rule::windows)), "a.0001");
    EXPECT_EQ(get_filename_without_extension(parsed_path("out.d/a", name_rule::windows)), "a");
    EXPECT_EQ(get_filename_without_extension(parsed_path(".exr", name_rule::windows)), "");
}

TEST(FilenameUtilities, ReplacedExtension) {
    const std::pair<std::string, std::string> cases[] = {
        {"C:\\out\\b.0001.exr", "C:\\out\\b.0001.jpg"}, {"beauty", "beauty.jpg"},
        {"C:/out/beauty.exr", "C:\\out\\beauty.jpg"},   {"C:beauty.exr", "C:beauty.jpg"},
        {"\\\\host\\s\\a.exr", "\\\\host\\s\\a.jpg"},   {"my out\\a.exr", "my out\\a.jpg"}};
    for (const auto& [path, replaced] : cases)
        EXPECT_EQ(replace_extension(path, ".jpg"), replaced) << path;
}

TEST(FilenameUtilities, NamesOutsideTheRuleAreRefusedByName) {
    // The last column tells whether Windows could store it.
    const std::tuple<std::string, std::string, bool> cases[] = {
        {"C:\\out\\a:b.exr", "a:b.exr", false},
        {"C:\\out \\a.exr", "out ", false},
        {"C:\\out.\\a.exr", "out.", false},
        {"C:\\o<t\\a.exr", "o<t", false},
        {"C:\\o\x1Ft\\a.exr", "o\x1Ft", false},
        {"C:\\a|b\\..\\a.exr", "a|b", false},
        {"C:\\out\\my shot.exr", "my shot.jpg", true},
        {"C:\\out\\-shot.exr", "-shot.jpg", true},
        {"C:\\out\\.exr", ".jpg", true},
        {"C:\\out\\sh\xF6t.exr", "sh\xF6t.jpg", true}};
    for (const auto& [path, element, only_portable] : cases) {
        const std::string whole = only_portable ? element : path;
        const std::string text = "invalid name \"" + element + "\" in path: \"" + whole + "\"";
        const std::string replacing = message_of([&path = path] { replace_extension(path, ".jpg"); });
        EXPECT_TRUE(replacing.starts_with(text)) << path << ": " << replacing;
        EXPECT_THROW(replace_extension(path, ".jpg"), boost::filesystem::filesystem_error) << path;
        for (const auto operation : {get_directory_from_path, get_filename_from_path}) {
            const std::string message = message_of([&path = path, operation] { operation(path); });
            EXPECT_EQ(message.starts_with(text), !only_portable) << path << ": " << message;
        }
    }
}

using FileSystem = PluginTest;

TEST_F(FileSystem, ExistenceTellsFilesFromFolders) {
    write_file(on_disk("out\\a.png"), "image");
    const std::tuple<const char*, bool, bool> cases[] = {
        {"C:\\out", false, true},      {"C:\\out\\", false, false},
        {"C:/out/a.png", true, false}, {"C:\\out\\b.png", false, false},
        {"C:\\none\\a", false, false}, {"\\\\server\\share\\a.png", false, false}};
    for (const auto& [path, is_file, is_folder] : cases) {
        if (!missing_shares_are_told && path[0] == '\\') continue;
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
    if (!drives_are_mapped()) return;  // shares are the system's
    TemporaryFolder network;
    map_network(network.path().string());
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
    EXPECT_THAT(message_of([] { create_directory_tree("C:\\bad:name\\shot"); }), StartsWith("invalid name"));
}

}  // namespace
}  // namespace corrivane::test
