#include "support/temporary_folder.h"

#include <drive_map.h>

#include <gtest/gtest.h>

#include <climits>
#include <filesystem>
#include <stdexcept>

namespace {

class DriveMap : public testing::Test {
protected:
    void SetUp() override {
        map_drive('C', "/drives/c");
        map_drive('z', "relative/z/");
        map_drive('R', "/");
        map_network("/net");
    }
    void TearDown() override { clear_drive_map(); }
};

struct Mapping {
    const char* windows;
    const char* native;
};

TEST_F(DriveMap, TurnsWindowsPathsIntoPathsOfThisMachine) {
    constexpr Mapping mappings[] = {
        {"C:\\a\\b.txt", "/drives/c/a/b.txt"},
        {"c:/a/b.txt", "/drives/c/a/b.txt"},
        {"C:\\a//b\\\\c", "/drives/c/a/b/c"},
        {"C:\\a\\", "/drives/c/a/"},
        {"C:\\", "/drives/c"},
        {"C:", "/drives/c"},
        {"C:a", "/drives/c/a"},
        {"Z:\\x", "relative/z/x"},
        {"R:\\etc", "/etc"},
        {"R:\\", "/"},
        {"\\\\server\\name\\x", "/net/server/name/x"},
        {"//server/name/x/", "/net/server/name/x/"},
        {"\\\\server\\name", "/net/server/name"},
        {"\\\\server\\name\\", "/net/server/name"},
        {"a\\b", "a/b"},
        {"\\a", "/a"},
        {"/usr/lib/x:y ", "/usr/lib/x:y "},
        {"..\\a", "../a"},
        {"C:\\\x81\xfe", "/drives/c/\x81\xfe"},
    };
    for (const Mapping& mapping : mappings) {
        const NativePath path = native_path(mapping.windows);
        EXPECT_EQ(path.error, ERROR_SUCCESS) << mapping.windows;
        EXPECT_EQ(path.path, mapping.native) << mapping.windows;
    }
}

TEST_F(DriveMap, DotsNeverLeadOutOfARoot) {
    constexpr Mapping mappings[] = {
        {"C:\\..\\..\\etc", "/drives/c/etc"}, {"C:\\a\\..\\..\\b", "/drives/c/b"},
        {"C:..\\b", "/drives/c/b"},           {"C:\\a\\.\\b\\..\\c", "/drives/c/a/c"},
        {"C:\\a\\..", "/drives/c"},           {"C:\\a\\..\\", "/drives/c"},
        {"R:\\a\\..\\..\\b", "/b"},           {"\\\\server\\name\\..\\..\\..\\etc", "/net/server/name/etc"},
    };
    for (const Mapping& mapping : mappings)
        EXPECT_EQ(native_path(mapping.windows).path, mapping.native);
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
        {"\\\\server\\", ERROR_BAD_NETPATH},
        {"\\\\\\server\\name", ERROR_BAD_NETPATH},
        {"\\\\..\\..\\etc", ERROR_BAD_NETPATH},
        {"\\\\server\\..\\x", ERROR_BAD_NETPATH},
        {"C:\\a:b", ERROR_INVALID_NAME},
        {"C:\\a<b\\c", ERROR_INVALID_NAME},
        {"C:\\*.txt", ERROR_INVALID_NAME},
        {"C:\\a?", ERROR_INVALID_NAME},
        {"C:\\a|b", ERROR_INVALID_NAME},
        {"C:\\\"a\"", ERROR_INVALID_NAME},
        {"C:\\a\tb", ERROR_INVALID_NAME},
        {"C:\\a \\b", ERROR_INVALID_NAME},
        {"C:\\a.", ERROR_INVALID_NAME},
        {"C:\\...", ERROR_INVALID_NAME},
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

TEST_F(DriveMap, NamesTheRootOfAPath) {
    constexpr Mapping roots[] = {{"C:\\a\\..\\b", "/drives/c"},
                                 {"C:", "/drives/c"},
                                 {"R:\\etc", "/"},
                                 {"Z:\\x\\y", "relative/z"},
                                 {"\\\\server\\name\\x", "/net/server/name"},
                                 {"/usr/lib", ""},
                                 {"a\\b", ""}};
    for (const Mapping& root : roots)
        EXPECT_EQ(native_path(root.windows).root, root.native) << root.windows;
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

TEST_F(DriveMap, FaultsHaveWords) {
    EXPECT_EQ(path_fault("", native_path("").error), "the name is empty");
    constexpr struct {
        const char* name;
        const char* text;
    } cases[] = {{"D:\\a", "no folder of this machine stands for that drive"},
                 {"\\\\server", "no folder of this machine stands for that share"},
                 {"C:\\a?", "Windows could not store a file of that name"}};
    for (const auto& [name, text] : cases)
        EXPECT_EQ(path_fault(name, native_path(name).error), text);
    const std::string long_name(PATH_MAX, 'x');
    EXPECT_EQ(path_fault(long_name, native_path(long_name).error), "the name is too long");
}

TEST_F(DriveMap, ForgetsDrivesAndRefusesWhatIsNoLetter) {
    map_drive('c', "");
    EXPECT_EQ(native_path("C:\\a").error, ERROR_PATH_NOT_FOUND);
    map_network("");
    EXPECT_EQ(native_path("\\\\server\\name\\x").error, ERROR_BAD_NETPATH);
    EXPECT_THROW(map_drive('1', "/x"), std::invalid_argument);
}

}  // namespace
