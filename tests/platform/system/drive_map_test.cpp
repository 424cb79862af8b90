#include "support/temporary_folder.h"

#include <system/drive_map.h>

#include <gtest/gtest.h>

#include <climits>
#include <filesystem>

namespace {

class DriveMap : public testing::Test {
protected:
    void SetUp() override {
        map_drive('C', "/drives/c");
        map_drive('z', "relative/z/");
        map_drive('R', "/");
        map_folder_of_drive('c', "Quillane\\logs", "/logs/1/");
        map_network("/net");
    }
    void TearDown() override { clear_drive_map(); }
};

struct Mapping {
    const char* windows;
    const char* native;
    const char* root;
};

TEST_F(DriveMap, TurnsWindowsPathsIntoPathsOfThisMachine) {
    constexpr Mapping mappings[] = {
        {"C:\\a\\b.txt", "/drives/c/a/b.txt", "/drives/c"},
        {"c:/a/b.txt", "/drives/c/a/b.txt", "/drives/c"},
        {"C:\\a//b\\\\c", "/drives/c/a/b/c", "/drives/c"},
        {"C:\\a\\", "/drives/c/a/", "/drives/c"},
        {"C:\\", "/drives/c", "/drives/c"},
        {"C:", "/drives/c", "/drives/c"},
        {"C:a", "/drives/c/a", "/drives/c"},
        {"Z:\\x", "relative/z/x", "relative/z"},
        {"R:\\etc", "/etc", "/"},
        {"R:\\", "/", "/"},
        {"\\\\server\\name\\x", "/net/server/name/x", "/net/server/name"},
        {"//server/name/x/", "/net/server/name/x/", "/net/server/name"},
        {"\\\\server\\name", "/net/server/name", "/net/server/name"},
        {"\\\\server\\name\\", "/net/server/name", "/net/server/name"},
        {"a\\b", "a/b", ""},
        {"\\a", "/a", ""},
        {"/usr/lib/x:y ", "/usr/lib/x:y ", ""},
        {"..\\a", "../a", ""},
        {"C:\\\x81\xfe", "/drives/c/\x81\xfe", "/drives/c"},
        {"C:/quillane\\LOGS\\a.log", "/logs/1/a.log", "/logs/1"},
        {"C:\\Quillane\\logs", "/logs/1", "/logs/1"},
        {"C:\\Quillane\\logs2\\a", "/drives/c/Quillane/logs2/a", "/drives/c"},
        {"Z:\\Quillane\\logs\\a", "relative/z/Quillane/logs/a", "relative/z"},
        {"C:\\Quillane\\logs\\..\\..\\a", "/logs/1/a", "/logs/1"},
        // Dots never lead out of a root.
        {"C:\\..\\..\\etc", "/drives/c/etc", "/drives/c"},
        {"C:\\a\\..\\..\\b", "/drives/c/b", "/drives/c"},
        {"C:..\\b", "/drives/c/b", "/drives/c"},
        {"C:\\a\\.\\b\\..\\c", "/drives/c/a/c", "/drives/c"},
        {"C:\\a\\..", "/drives/c", "/drives/c"},
        {"C:\\a\\..\\", "/drives/c", "/drives/c"},
        {"R:\\a\\..\\..\\b", "/b", "/"},
        {"\\\\server\\name\\..\\..\\..\\etc", "/net/server/name/etc", "/net/server/name"},
    };
    for (const Mapping& mapping : mappings) {
        const NativePath path = native_path(mapping.windows);
        EXPECT_EQ(path.error, ERROR_SUCCESS) << mapping.windows;
        EXPECT_EQ(path.path, mapping.native) << mapping.windows;
        EXPECT_EQ(path.root, mapping.root) << mapping.windows;
    }
}

TEST_F(DriveMap, SaysWhyAPathLeadsNowhere) {
    struct Case {
        std::string windows;
        DWORD error;
    };
    const Case cases[] = {
        {"", ERROR_PATH_NOT_FOUND},
        {"D:\\a", ERROR_PATH_NOT_FOUND},
        {"\\\\server", ERROR_BAD_NETPATH},
        {"\\\\\\server\\name", ERROR_BAD_NETPATH},
        {"\\\\..\\..\\etc", ERROR_BAD_NETPATH},
        {"\\\\server\\..\\x", ERROR_BAD_NETPATH},
        {"C:\\a:b", ERROR_INVALID_NAME},
        {"C:\\a?", ERROR_INVALID_NAME},
        {"C:\\\"a\"", ERROR_INVALID_NAME},
        {"C:\\a\tb", ERROR_INVALID_NAME},
        {"C:\\a \\b", ERROR_INVALID_NAME},
        {"C:\\a.", ERROR_INVALID_NAME},
        {std::string("C:\\a\0b", 6), ERROR_INVALID_NAME},
        {std::string("a\0b", 3), ERROR_INVALID_NAME},
        {"\\\\ser:ver\\name\\x", ERROR_INVALID_NAME},
        {"C:\\" + std::string(PATH_MAX, 'x'), ERROR_FILENAME_EXCED_RANGE},
        {std::string(PATH_MAX, 'x'), ERROR_FILENAME_EXCED_RANGE},
    };
    for (const Case& wrong : cases) {
        const NativePath path = native_path(wrong.windows);
        EXPECT_EQ(path.error, wrong.error) << wrong.windows;
        EXPECT_EQ(path.path, "") << wrong.windows;
    }
}

TEST_F(DriveMap, FilesAreWrittenBelowSharesThatAreThere) {
    const corrivane::test::TemporaryFolder folder;
    std::filesystem::create_directories(folder.path() / "server" / "share");
    map_network(folder.path());
    EXPECT_EQ(native_output_path("\\\\server\\share\\a\\b").path, folder / "server/share/a/b");
    for (const char* name : {"\\\\server\\share", "\\\\server\\share\\", "\\\\server\\share\\a\\..",
                             "\\\\server\\file", "\\\\server\\none\\a", "\\\\none\\share\\a"}) {
        const NativePath path = native_output_path(name);
        EXPECT_EQ(path.error, ERROR_BAD_NETPATH) << name;
        EXPECT_EQ(path.path, "") << name;
    }
    // Whether a drive's folder is there shows when the file is opened.
    EXPECT_EQ(native_output_path("C:\\a").path, "/drives/c/a");
    EXPECT_EQ(native_output_path("D:\\a").error, ERROR_PATH_NOT_FOUND);
}

}  // namespace
