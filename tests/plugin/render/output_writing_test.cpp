#include "fakes/fake_max.h"
#include "plugin/plugin_test.h"
#include "support/message_of.h"

#include <fstream>
#include <memory>

namespace corrivane::test {
namespace {

using Files = std::vector<std::string>;

class OutputWriting : public PluginTest {
protected:
    OutputWriting() {
        std::filesystem::create_directory(on_disk("out"));
        job_state.StartJob("a.max", "");
        fake_max().calls.clear();
    }

    /// A bitmap of that size whose pixels tell where they are, for a file.
    void make(std::uint16_t width, std::uint16_t height, const char* name) {
        m_info.SetWidth(width);
        m_info.SetHeight(height);
        m_info.SetName(name);
        m_bitmap = std::make_unique<FakeBitmap>("source", m_info);
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x)
                m_bitmap->pixel(x, y) = {static_cast<float>(x), static_cast<float>(y), 0, 1};
        }
        fake_max().bitmaps_alive = 0;
    }

    BitmapInfo m_info;
    std::unique_ptr<FakeBitmap> m_bitmap;
};

TEST_F(OutputWriting, FileIsWrittenProvedAndNoted) {
    make(2, 2, "C:\\out\\a.tga");
    const std::string before = log();
    job_state.save_output(m_bitmap.get(), m_info);
    EXPECT_EQ(fake_max().calls, (Files{"OpenOutput source C:\\out\\a.tga",
                                       "Write source C:\\out\\a.tga -2000000", "Close source 0"}));
    EXPECT_EQ(job_state.writtenOutputFiles, Files{"C:\\out\\a.tga"});
    EXPECT_EQ(log(), before + "writing to output file: C:\\out\\a.tga\n");
}

TEST_F(OutputWriting, AlphaCompanionMustBeThereToo) {
    const std::string before = log();
    make(2, 2, "C:\\out\\a.tga");
    job_state.alphaSplit = true;
    EXPECT_EQ(
        message_of([&] { job_state.save_output(m_bitmap.get(), m_info); }),
        "bm->Write() returned success, but the Alpha Split feature (tga) is enabled, and the output file, "
        "\"C:\\out\\A_a.tga\" did not exist.");
    EXPECT_EQ(job_state.writtenOutputFiles, Files{});
    fake_max().splits_alpha = true;
    job_state.save_output(m_bitmap.get(), m_info);
    EXPECT_EQ(job_state.writtenOutputFiles, (Files{"C:\\out\\a.tga", "C:\\out\\A_a.tga"}));
    const std::string entry =
        "writing to output file: C:\\out\\a.tga\n"
        "Alpha Split feature (tga) is enabled, need to save C:\\out\\A_a.tga\n";
    EXPECT_EQ(log(), before + entry + entry);
}

TEST_F(OutputWriting, FailuresNameTheStepAndNoteNoFile) {
    const std::string name = "C:\\out\\a.png";
    const struct {
        std::string error;
        std::function<void()> arrange;
        Files operations;  ///< that were still tried
    } cases[] = {
        {"Error in bm->OpenOutput(): error code 5",
         [] { fake_max().open_output_result = 5; },
         {"OpenOutput"}},
        {"Error in bm->Write(): error code 65535",
         [] { fake_max().write_result = 65535; },
         {"OpenOutput", "Write"}},
        {"bm->Write() returned success, but the output file, \"" + name + "\" did not exist.",
         [&] { fake_max().dropped_files = {name}; },
         {"OpenOutput", "Write", "Close"}},
    };
    for (const auto& [error, arrange, operations] : cases) {
        fake_max() = FakeMax();
        make(2, 2, name.c_str());
        arrange();
        EXPECT_EQ(message_of([&] { job_state.save_output(m_bitmap.get(), m_info); }), error);
        ASSERT_EQ(fake_max().calls.size(), operations.size());
        for (std::size_t i = 0; i < operations.size(); ++i)
            EXPECT_TRUE(fake_max().calls[i].starts_with(operations[i] + " "));
        EXPECT_EQ(job_state.writtenOutputFiles, Files{});
    }
    fake_max() = FakeMax();
    make(2, 2, "C:\\out \\a.png");
    EXPECT_TRUE(message_of([&] {
                    job_state.save_output(m_bitmap.get(), m_info);
                }).starts_with("invalid name \"out \""));
    EXPECT_EQ(fake_max().calls, Files{});
}

TEST_F(OutputWriting, RegionImageIsTheRequestedOneWithoutItsPadding) {
    const struct {
        const char* what;
        std::uint16_t width, height;            ///< of the source
        int padding, left, top, right, bottom;  ///< and the overflows
        int file_width, file_height;
        float first_x, first_y;  ///< the source's pixel that the file begins with
        std::string placed;
    } cases[] = {
        {"inside", 232, 182, 16, 0, 0, 0, 0, 200, 150, 16, 16, "mode 3 flags 8 at -16,-16"},
        {"at the left", 126, 50, 16, 6, 0, 0, 0, 100, 18, 10, 16, "mode 3 flags 8 at -10,-16"},
        {"at the top and right", 100, 100, 10, 0, 10, 10, 0, 90, 90, 10, 0, "mode 3 flags 8 at -10,0"},
        {"no padding", 30, 20, 0, 0, 0, 0, 0, 30, 20, 0, 0, "mode 3 flags 8 at 0,0"},
    };
    for (const auto& [what, width, height, padding, left, top, right, bottom, file_width, file_height,
                      first_x, first_y, placed] : cases) {
        fake_max() = FakeMax();
        make(width, height, "C:\\out\\a.png");
        job_state.regionPadding = padding;
        job_state.regionLeftOverflow = left;
        job_state.regionTopOverflow = top;
        job_state.regionRightOverflow = right;
        job_state.regionBottomOverflow = bottom;
        job_state.save_region_output(m_bitmap.get(), m_info);
        const WrittenImage& image = fake_max().written["C:\\out\\a.png"];
        EXPECT_EQ(image.width, file_width) << what;
        EXPECT_EQ(image.height, file_height) << what;
        EXPECT_EQ(image.first.r, first_x) << what;
        EXPECT_EQ(image.first.g, first_y) << what;
        EXPECT_EQ(fake_max().calls_of("CopyImage"), Files{"CopyImage " + placed}) << what;
        EXPECT_EQ(fake_max().calls_of("PrepareGChannels"), Files{"PrepareGChannels bitmap1"}) << what;
        EXPECT_EQ(fake_max().bitmaps_alive, 0) << what;
    }
    fake_max().failing_bitmap = fake_max().bitmaps_made + 1;
    EXPECT_EQ(message_of([&] { job_state.save_region_output(m_bitmap.get(), m_info); }),
              "Failed to allocate region Bitmap: TheManager->Create() return NULL");
}

TEST_F(OutputWriting, PreviewIsAJpegInTheWorkersFolder) {
    const struct {
        const char* folder;
        const char* preview;
    } cases[] = {{"C:\\temp\\", "C:\\temp\\beauty.0001.jpg"}, {"C:\\temp", "C:\\tempbeauty.0001.jpg"}};
    std::filesystem::create_directory(on_disk("temp"));
    make(2, 2, "C:\\out\\beauty.0001.exr");
    for (const auto& [folder, preview] : cases) {
        fake_max().calls.clear();
        job_state.jpegOutputPath = folder;
        job_state.write_jpeg_preview(m_bitmap.get(), m_info);
        EXPECT_EQ(fake_max().calls,
                  (Files{std::string("OpenOutput source ") + preview,
                         std::string("Write source ") + preview + " -2000000", "Close source 0"}));
        EXPECT_TRUE(log().ends_with(std::string("writing jpeg output to temp file: ") + preview + "\n"));
        EXPECT_EQ(job_state.writtenOutputFiles, Files{});
    }
    fake_max().dropped_files = {"C:\\tempbeauty.0001.jpg"};
    std::filesystem::remove(on_disk("tempbeauty.0001.jpg"));
    EXPECT_EQ(
        message_of([&] { job_state.write_jpeg_preview(m_bitmap.get(), m_info); }),
        "bm->Write() returned success, but the output file, \"C:\\tempbeauty.0001.jpg\" did not exist.");
    make(2, 2, "C:\\out\\my shot.exr");
    EXPECT_TRUE(message_of([&] {
                    job_state.write_jpeg_preview(m_bitmap.get(), m_info);
                }).starts_with("invalid name"));
}

}  // namespace
}  // namespace corrivane::test
