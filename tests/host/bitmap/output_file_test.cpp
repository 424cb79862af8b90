#include "bitmap/output_file.h"

#include "bitmap/bitmap_log.h"
#include "bitmap/output_codes.h"
#include "bitmap_test_support.h"

#include <system/drive_map.h>

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace corrivane::host {
namespace {

namespace fs = std::filesystem;

/// Drive C in a folder of its own, with C:\out in it.
class OutputFileTest : public testing::Test {
protected:
    OutputFileTest() {
        fs::create_directory(out());
        fs::create_directories(m_folder.path() / "net" / "server" / "share");
        fs::permissions(m_folder.path(), fs::perms(0755));  // for tests that are somebody else for a moment
        map_drive('C', m_folder.path());
        map_network(m_folder / "net");
    }
    ~OutputFileTest() override { clear_drive_map(); }

    fs::path out() const { return m_folder.path() / "out"; }
    std::vector<std::string> out_entries() const { return entries_of(out()); }

    TemporaryFolder m_folder;
};

TEST_F(OutputFileTest, EveryNameThatCannotBeWrittenHasItsOwnCode) {
    fs::create_directory(out() / "folder.png");
    write_file(out() / "file", "x");
    write_file(out() / "readonly.png", "x");
    fs::permissions(out() / "readonly.png", fs::perms(0444));
    ASSERT_EQ(mkfifo((out() / "pipe.png").c_str(), 0666), 0);
    const auto before = out_entries();

    const std::string long_element(252, 'a');
    const std::pair<std::string, BMMRES> cases[] = {
        {"", output_invalid_name},
        {"C:\\out\\a", output_unknown_format},
        {"C:\\out\\a.xyz", output_unknown_format},
        {"C:\\out\\a.png\\", output_unknown_format},
        {"C:\\missing\\a.png", output_folder_missing},
        {"C:\\out\\file\\a.png", output_not_a_folder},
        {"C:\\out\\folder.png", output_is_a_folder},
        {"C:\\out\\readonly.png", output_access_denied},
        {"C:\\out\\pipe.png", output_access_denied},
        {"C:\\out\\what?.png", output_invalid_name},
        {"Q:\\out\\a.png", output_drive_missing},
        {"\\\\server\\a.png", output_share_missing},
        {"\\\\server\\none\\a.png", output_share_missing},
        {"C:\\out\\" + long_element + ".png", output_name_too_long},
    };
    const OwnedBitmap bitmap = make_pattern(8, 8);
    for (const auto& [name, code] : cases) {
        const BitmapInfo info = describe(name);
        EXPECT_EQ(bitmap->OpenOutput(info), code) << name;
        EXPECT_EQ(bitmap->Write(info, BMM_SINGLEFRAME), output_not_open) << name;
    }
    EXPECT_EQ(out_entries(), before);
}

std::vector<std::string> logged;

TEST_F(OutputFileTest, FailuresAreLogged) {
    logged.clear();
    set_bitmap_log([](BitmapLogKind kind, const std::string& call, const std::string& text) {
        logged.push_back((kind == BitmapLogKind::warning ? "warning: " : "") + call + ": " + text);
    });
    const OwnedBitmap bitmap = make_pattern(8, 8);
    bitmap->Write(describe("C:\\out\\a.gif"), BMM_SINGLEFRAME);
    for (const char* name : {"C:\\out\\a.png", "c:/out/./a.png"})
        save(*bitmap, describe(name));
    begin_frame_outputs();
    save(*bitmap, describe("C:\\out\\a.png"));
    bitmap->OpenOutput(describe("C:\\out\\b.png"));
    fs::remove_all(out());
    bitmap->Write(describe("C:\\out\\b.png"), BMM_SINGLEFRAME);
    FloatBitmap::make(0, 7);
    FloatBitmap::make(65535, 65535);
    set_bitmap_log(nullptr);
    const std::vector<std::string> expected = {
        "Write: C:\\out\\a.gif: the file has not been opened (code 6)",
        "warning: Write: c:/out/./a.png: another image of this frame had this name; the last one stays",
        "Write: C:\\out\\b.png: no such folder (code 3)",
        "Create: an image of 0x7 pixels: sizes are at least 1",
        "Create: an image of 65535x65535 pixels: too many",
    };
    EXPECT_EQ(logged, expected);
}

TEST_F(OutputFileTest, WriteNeedsAnOpenOutputSinceTheLastClose) {
    const OwnedBitmap bitmap = make_pattern(8, 8);
    const BitmapInfo info = describe("C:\\out\\a.bmp");
    EXPECT_EQ(bitmap->Write(info, BMM_SINGLEFRAME), output_not_open);
    EXPECT_EQ(bitmap->Close(info, 0), output_not_open);
    EXPECT_EQ(save(*bitmap, info), BMMRES_SUCCESS);
    EXPECT_EQ(bitmap->Write(info, BMM_SINGLEFRAME), output_not_open);
    EXPECT_EQ(bitmap->OpenOutput(info), BMMRES_SUCCESS);
    EXPECT_EQ(bitmap->OpenOutput(describe("")), output_invalid_name);
    EXPECT_EQ(bitmap->Write(info, BMM_SINGLEFRAME), output_not_open);
}

TEST_F(OutputFileTest, AFileThatIsThereIsReplacedWhenTheNewOneIsComplete) {
    write_file(out() / "a.png", "old");
    const OwnedBitmap bitmap = make_pattern(8, 8);
    EXPECT_EQ(bitmap->OpenOutput(describe("C:\\out\\b.png")), BMMRES_SUCCESS);
    EXPECT_EQ(bitmap->OpenOutput(describe("C:\\out\\a.png")), BMMRES_SUCCESS);
    EXPECT_EQ(read_file(out() / "a.png"), "old");
    EXPECT_EQ(bitmap->Write(describe("C:\\out\\a.png"), BMM_SINGLEFRAME), BMMRES_SUCCESS);
    EXPECT_EQ(read_file(out() / "a.png").substr(1, 3), "PNG");
    EXPECT_EQ(out_entries(), std::vector<std::string>{"a.png"});
}

TEST_F(OutputFileTest, FolderThatGoesAwayBetweenOpenAndWrite) {
    const OwnedBitmap bitmap = make_pattern(8, 8);
    const BitmapInfo info = describe("C:\\out\\a.png");
    ASSERT_EQ(bitmap->OpenOutput(info), BMMRES_SUCCESS);
    fs::remove(out());
    EXPECT_EQ(bitmap->Write(info, BMM_SINGLEFRAME), output_folder_missing);
    fs::create_directory(out());
    ASSERT_EQ(bitmap->OpenOutput(info), BMMRES_SUCCESS);
    fs::create_directory(out() / "a.png");
    EXPECT_EQ(bitmap->Write(info, BMM_SINGLEFRAME), output_is_a_folder);
    EXPECT_EQ(out_entries(), std::vector<std::string>{"a.png"});
}

TEST_F(OutputFileTest, SizesBeyondAFormatAreRefused) {
    const OwnedBitmap wide(FloatBitmap::make(65501, 1));
    const OwnedBitmap tall(FloatBitmap::make(1, 65501));
    const OwnedBitmap largest(FloatBitmap::make(65500, 1));
    EXPECT_EQ(wide->OpenOutput(describe("C:\\out\\a.jpg")), output_image_too_large);
    EXPECT_EQ(tall->OpenOutput(describe("C:\\out\\a.jpg")), output_image_too_large);
    EXPECT_EQ(save(*largest, describe("C:\\out\\a.jpg")), BMMRES_SUCCESS);
    EXPECT_EQ(wide->OpenOutput(describe("C:\\out\\a.png")), BMMRES_SUCCESS);
    for (const char* name : {"C:\\out\\a.bmp", "C:\\out\\a.tga"}) {
        EXPECT_THROW(OutputFile(describe(name), 32768, 32768), OutputFailure) << name;
    }
}

TEST_F(OutputFileTest, AlphaCompanionIsCheckedFirstAndGoesWhenItsImageFails) {
    const OwnedBitmap bitmap = make_pattern(8, 8);
    const BitmapInfo info = describe("C:\\out\\a.tga");
    fs::create_directory(out() / "A_a.tga");
    set_tga_alpha_split(true);
    EXPECT_EQ(bitmap->OpenOutput(info), output_is_a_folder);
    fs::remove(out() / "A_a.tga");
    ASSERT_EQ(bitmap->OpenOutput(info), BMMRES_SUCCESS);
    set_tga_alpha_split(false);
    fs::create_directory(out() / "a.tga");
    EXPECT_EQ(bitmap->Write(info, BMM_SINGLEFRAME), output_is_a_folder);
    EXPECT_EQ(out_entries(), std::vector<std::string>{"a.tga"});
}

TEST_F(OutputFileTest, FoldersWithoutPermission) {
    fs::permissions(out(), fs::perms(0555));
    // Nothing is denied to root, who is somebody else for a moment.
    const uid_t user = geteuid();
    if (user == 0) {
        ASSERT_EQ(seteuid(65534), 0);
    }
    const OwnedBitmap bitmap = make_pattern(8, 8);
    const BMMRES code = bitmap->OpenOutput(describe("C:\\out\\a.png"));
    ASSERT_EQ(seteuid(user), 0);
    fs::permissions(out(), fs::perms(0755));
    EXPECT_EQ(code, output_access_denied);
}

/// Writes an image of every format over an old file: each gives `code`, leaves the old one alone and
/// nothing else.
void expect_failing_writes(const fs::path& folder, BMMRES code) {
    const OwnedBitmap bitmap = make_pattern(200, 200);
    for (const char* name : {"a.png", "a.jpg", "a.bmp", "a.tga", "a.tif", "a.exr"}) {
        write_file(folder / name, "old");
        EXPECT_EQ(save(*bitmap, describe(folder / name)), code) << name;
        EXPECT_EQ(read_file(folder / name), "old") << name;
        fs::remove(folder / name);
        EXPECT_TRUE(fs::is_empty(folder)) << name;
    }
}

TEST_F(OutputFileTest, LimitOnFileSizesLeavesTheOldFileAlone) {
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const rlimit limit{2000, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
    expect_failing_writes(out(), output_file_too_large);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
}

/// Puts a file system of 8 KiB on `folder`, for the calling thread alone. False when the system does not
/// let us.
bool mount_small_disk(const fs::path& folder) {
    return unshare(CLONE_NEWNS) == 0 && mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           mount("none", folder.c_str(), "tmpfs", 0, "size=8k") == 0;
}

TEST_F(OutputFileTest, FullDiskLeavesTheOldFileAlone) {
    bool mounted = false;
    std::thread([&] {
        mounted = mount_small_disk(out());
        if (mounted) expect_failing_writes(out(), output_disk_full);
    }).join();
    if (!mounted) GTEST_SKIP() << "only root may mount a small disk";
}

TEST_F(OutputFileTest, ManyFramesKeepNothing) {
    const auto save_frames = [](int first, int end) {
        constexpr const char* extensions[] = {".png", ".jpg", ".bmp", ".tga", ".tif", ".exr"};
        for (int frame = first; frame < end; ++frame) {
            const std::string name = "C:\\out\\" + std::to_string(frame) + extensions[frame % 6];
            ASSERT_EQ(save(*make_pattern(16, 12), describe(name)), BMMRES_SUCCESS);
        }
    };
    save_frames(0, 6);
    const std::size_t files = entries_of("/proc/self/fd").size();
    const auto bitmaps = live_bitmaps();
    save_frames(6, 2000);
    EXPECT_EQ(entries_of("/proc/self/fd").size(), files);
    EXPECT_EQ(live_bitmaps(), bitmaps);
    EXPECT_EQ(out_entries().size(), 2000U);
}

}  // namespace
}  // namespace corrivane::host
