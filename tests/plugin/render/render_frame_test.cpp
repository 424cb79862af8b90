#include "fakes/fake_max.h"
#include "plugin/plugin_test.h"
#include "support/message_of.h"
#include "support/provoked_fault.h"

#include <algorithm>
#include <fstream>
#include <functional>
#include <regex>
#include <stdexcept>

namespace corrivane::test {
namespace {

using Texts = std::vector<std::string>;

/// A started job whose frames go to C:\out\a.png.
class RenderingAFrame : public PluginTest {
protected:
    RenderingAFrame() {
        m_camera.effect = &m_effect;
        fake_max().nodes["Cam"] = &m_camera_node;
        fake_max().output.SetName("C:\\out\\a.png");
    }
    ~RenderingAFrame() override {
        job_state.renderElements.clear();
        job_state.elementBitmaps.clear();
    }

    void start(const char* camera = "") {
        job_state.StartJob("a.max", camera);
        fake_max().calls.clear();
        m_log_before = log().size();
    }
    void start_multipass() {
        m_camera.effect_enabled = true;
        start("Cam");
    }

    static unsigned short render(int frame) {
        quorvel::win32::simple_socket nobody;
        return job_state.RenderFrame(frame, nobody);
    }
    static std::string error_of(int frame) {
        return message_of([frame] { render(frame); });
    }
    /// What is on disk when the element's file fails; every other failure comes before the first file.
    static Texts written_before(const std::string& error) {
        return error.find("depth0001.exr") != std::string::npos ? Texts{"C:\\out\\a0001.png"} : Texts{};
    }
    static Texts written() { return fake_max().calls_of("Write"); }
    std::string frame_log() const { return log().substr(m_log_before); }

    FakeEffect m_effect;
    FakeCamera m_camera;
    FakeNode m_camera_node{"Cam", &m_camera};
    FakeElement m_depth{"C:\\out\\depth.exr"};
    FakeElement m_normal{"C:\\elements\\normal.exr"};
    FakeElement m_empty{"C:\\out\\none.exr"};
    std::size_t m_log_before = 0;
};

/// Addresses are of no interest.
std::string without_addresses(const std::string& text) {
    return std::regex_replace(text, std::regex("0x[0-9a-f]+"), "ADDRESS");
}

TEST_F(RenderingAFrame, FirstFrameFromTheTimeToTheRelease) {
    start();
    EXPECT_EQ(render(7), 0);
    EXPECT_EQ(fake_max().calls,
              (Texts{"SetTime 1120 1", "PrepareGChannels bitmap1", "SetupRendParams 0",
                     "OpenCurRenderer camera none viewport active type 0 8x4", "Display bitmap1 5011",
                     "CurRendererRenderFrame 1120 bitmap1 100", "UnDisplay bitmap1",
                     "OpenOutput bitmap1 C:\\out\\a0007.png", "Write bitmap1 C:\\out\\a0007.png -2000000",
                     "Close bitmap1 0", "DeleteThis bitmap1"}));
    EXPECT_EQ(
        without_addresses(frame_log()),
        "Renderframe 7\nRendering frame C:\\out\\a0007.png\nBitmap ADDRESS\nRendering 0 render elements\n"
        "Setting up render parameters\nRendering view at address ADDRESS\nOpening renderer\n"
        "Multipass enabled = 0\nTotal passes = 1\nchecking output paths\ncreating output path: C:\\out\n"
        "checking default actions\n  TYPE_MISSING_EXTERNAL_FILES = FAIL\n  TYPE_MISSING_UVWS = FAIL\n"
        "  TYPE_MISSING_DLL_FILES = FAIL\n  TYPE_MISSING_XREF_FILES = FAIL\ncalling renderer\n"
        "CallCurRendererRenderFrame returned code 1\nrender done\nwriting to output file: "
        "C:\\out\\a0007.png\n");
    EXPECT_EQ(job_state.writtenOutputFiles, Texts{"C:\\out\\a0007.png"});
    EXPECT_STREQ(job_state.outputBitmapInfo.Name(), "C:\\out\\a.png");
    EXPECT_TRUE(std::filesystem::exists(on_disk("out\\a0007.png")));
}

TEST_F(RenderingAFrame, RendererStaysOpenUnlessItIsRestarted) {
    fake_max().elements = {&m_depth};
    for (const bool restart : {false, true}) {
        start();
        job_state.restartRendererMode = restart;
        for (int frame = 1; frame <= 3; ++frame) {
            EXPECT_EQ(render(frame), 0);
            EXPECT_EQ(job_state.rendererOpen, !restart);
            EXPECT_EQ(job_state.renderElements.size(), restart ? 0U : 1U);
            EXPECT_EQ(job_state.elementBitmaps.size(), restart ? 0U : 1U);
            EXPECT_EQ(job_state.writtenOutputFiles.size(), 2U) << "those of this frame alone";
        }
        EXPECT_EQ(fake_max().calls_of("OpenCurRenderer").size(), restart ? 3U : 1U);
        EXPECT_EQ(fake_max().calls_of("CloseCurRenderer").size(), restart ? 3U : 0U);
        job_state.EndJob();
    }
    EXPECT_EQ(fake_max().bitmaps_alive, 0);
}

TEST_F(RenderingAFrame, NamesFollowFrameBaseAndPadding) {
    const struct {
        int frame, base;
        bool padding;
        const char* output;  ///< of the worker, null for the scene's
        std::string name;
        int time;
    } cases[] = {
        {7, 1000, true, nullptr, "C:\\out\\a1007.png", 1120},
        {-3, 0, true, nullptr, "C:\\out\\a-003.png", -480},
        {7, 1000, false, nullptr, "C:\\out\\a.png", 1120},
        {7, -7, true, "C:\\farm\\b.tga", "C:\\farm\\b0000.tga", 1120},
        {7, 0, false, "C:\\farm\\b.tga", "C:\\farm\\b.tga", 1120},
    };
    fake_max().elements = {&m_depth};
    for (const auto& [frame, base, padding, output, name, time] : cases) {
        m_depth.record.bi.SetName("C:\\out\\depth.exr");
        start();
        job_state.frameNumberBase = base;
        job_state.removePadding = !padding;
        job_state.useOutputImageFilename = output != nullptr;
        if (output != nullptr) job_state.outputImageFilename = output;
        EXPECT_EQ(render(frame), 0);
        const std::string element =
            "C:\\out\\depth" +
            (padding ? std::regex_replace(name, std::regex(".*[ab](-?\\d+)\\..*"), "$1") : "") + ".exr";
        EXPECT_EQ(job_state.writtenOutputFiles, (Texts{name, element}));
        EXPECT_EQ(fake_max().time, time);
        EXPECT_STREQ(job_state.outputBitmapInfo.Name(), "C:\\out\\a.png");
        job_state.EndJob();
    }
}

TEST_F(RenderingAFrame, NamesThatAreTooLongAreRefusedAndNumbersWrap) {
    start();
    job_state.useOutputImageFilename = true;
    for (const std::string& name : {"C:\\out\\" + std::string(247, 'a') + ".png", std::string(5000, 'a')}) {
        job_state.outputImageFilename = name;
        EXPECT_EQ(error_of(1), "The output file name is too long for frame 1: \"" + name + "\"");
    }
    EXPECT_EQ(fake_max().bitmaps_made, 0);

    job_state.outputImageFilename = "C:\\out\\b.png";
    job_state.frameNumberBase = 1;
    EXPECT_EQ(render(2'147'483'647), 0);
    EXPECT_EQ(fake_max().time, -160);
    EXPECT_EQ(job_state.writtenOutputFiles, Texts{"C:\\out\\b-2147483648.png"});
}

TEST_F(RenderingAFrame, ExistingFramesAreSkippedIfTheSceneSaysSo) {
    start();
    EXPECT_EQ(render(1), 0);
    const std::size_t before = log().size();
    fake_max().skips_existing = true;
    const int bitmaps = fake_max().bitmaps_made;
    EXPECT_EQ(render(1), 0);
    EXPECT_EQ(fake_max().bitmaps_made, bitmaps);
    EXPECT_EQ(log().substr(before),
              "Renderframe 1\nSkipping frame C:\\out\\a0001.png because it already exists\n");
    EXPECT_EQ(job_state.writtenOutputFiles, Texts{});
    EXPECT_STREQ(job_state.outputBitmapInfo.Name(), "C:\\out\\a0001.png");
    EXPECT_EQ(render(2), 0);
    EXPECT_EQ(job_state.writtenOutputFiles, Texts{"C:\\out\\a0002.png"});

    job_state.EndJob();
    start();
    EXPECT_EQ(render(1), 0);
    EXPECT_EQ(fake_max().calls_of("OpenCurRenderer"), Texts{}) << "opened for a frame that is skipped";
}

TEST_F(RenderingAFrame, ElementsAreRenderedBesideTheImage) {
    fake_max().elements = {&m_depth, &m_empty, &m_normal};
    m_empty.has_record = false;
    const struct {
        bool save_file, renderer_saves, active;
        Texts written;
    } cases[] = {
        {true, false, true, {"C:\\out\\a0001.png", "C:\\out\\depth0001.exr", "C:\\elements\\normal0001.exr"}},
        {true, true, true, {"C:\\out\\depth0001.exr", "C:\\elements\\normal0001.exr"}},
        {false, false, true, {"C:\\out\\depth0001.exr", "C:\\elements\\normal0001.exr"}},
        {true, false, false, {"C:\\out\\a0001.png"}},
    };
    for (const auto& [save_file, renderer_saves, active, expected] : cases) {
        m_depth.record.bi.SetName("C:\\out\\depth.exr");
        m_normal.record.bi.SetName("C:\\elements\\normal.exr");
        fake_max().save_file = save_file;
        fake_max().requirements.clear();
        if (renderer_saves) fake_max().requirements.insert(RENDERER_SAVES_OUTPUT);
        fake_max().elements_active = active;
        start();
        fake_max().inside["CurRendererRenderFrame"] = [&, drawn = active] {
            EXPECT_EQ(m_depth.record.bm != nullptr && m_normal.record.bm != nullptr, drawn);
        };
        EXPECT_EQ(render(1), 0);
        EXPECT_EQ(job_state.writtenOutputFiles, expected);
        EXPECT_TRUE(logged(active ? "Rendering 3 render elements\n" : "Rendering 0 render elements\n"));
        EXPECT_EQ(std::regex_match(job_state.sceneOutputFilename,
                                   std::regex(R"(C:\\quillane\\temp\\temp_filename\d+\.bmp)")),
                  !save_file);
        EXPECT_EQ(fake_max().bitmaps_alive, 0);
        EXPECT_EQ(m_depth.record.bm, nullptr);
        job_state.EndJob();
    }
}

TEST_F(RenderingAFrame, PassesAreAccumulatedIntoTheImageAndTheElements) {
    fake_max().elements = {&m_empty, &m_depth};
    m_empty.has_record = false;
    m_effect.passes = 2;
    m_effect.shift = 10;
    start_multipass();
    job_state.showFrameBuffer = false;
    EXPECT_EQ(render(1), 0);
    // The image is bitmap1, the element's bitmap2 and its accumulator bitmap3, the pass bitmap4.
    const Texts& calls = fake_max().calls;
    const auto first = std::ranges::find(calls, "Apply 0");
    const auto last = std::ranges::find(calls, "PostRenderFrame");
    ASSERT_NE(last, calls.end());
    EXPECT_EQ(Texts(first, last),
              (Texts{"Apply 0", "CurRendererRenderFrame 160 bitmap4 100 view",
                     "AccumulateBitmap bitmap1 += bitmap4, pass 0, time 160",
                     "AccumulateBitmap bitmap3 += bitmap2, pass 0, time 160", "Apply 1",
                     "CurRendererRenderFrame 170 bitmap4 100 view",
                     "AccumulateBitmap bitmap1 += bitmap4, pass 1, time 170",
                     "AccumulateBitmap bitmap3 += bitmap2, pass 1, time 170", "DeleteThis bitmap4"}));
    EXPECT_EQ(written(), (Texts{"Write bitmap1 C:\\out\\a0001.png -2000000",
                                "Write bitmap3 C:\\out\\depth0001.exr -2000000"}));
    EXPECT_TRUE(
        logged("calling renderer\nrendering multipass effect:\n\trendering pass: 1 of 2\n"
               "CallCurRendererRenderFrame returned code 1\n\tsuccess\n\trendering pass: 2 of 2\n"
               "CallCurRendererRenderFrame returned code 1\n\tsuccess\nrender done\n"))
        << log();
    for (int frame = 2; frame < 4; ++frame)
        EXPECT_EQ(render(frame), 0);
    EXPECT_EQ(fake_max().bitmaps_alive, 0);
}

TEST_F(RenderingAFrame, FrameBufferIsShownUnlessHiddenOrTheRendererHasItsOwn) {
    const struct {
        bool show, class1, shown;
    } cases[] = {{true, false, true}, {false, false, false}, {true, true, false}};
    for (const bool multipass : {false, true}) {
        for (const auto& [show, class1, shown] : cases) {
            fake_max().renderer_class = class1 ? Class_ID{0x52ad1c02, 0x112d2fbc} : Class_ID{1, 2};
            if (multipass)
                start_multipass();
            else
                start();
            job_state.showFrameBuffer = show;
            EXPECT_EQ(render(1), 0);
            // Each pass is shown; the window goes after the last.
            const std::size_t times = !shown ? 0 : multipass ? m_effect.passes : 1;
            EXPECT_EQ(fake_max().calls_of("Display").size(), times);
            EXPECT_EQ(fake_max().calls_of("UnDisplay").size(), shown ? 1U : 0U);
            job_state.EndJob();
        }
    }
}

TEST_F(RenderingAFrame, RegionIsRenderedAndWrittenWithoutItsPadding) {
    fake_max().elements = {&m_depth};
    start();
    job_state.regionRendering = true;
    job_state.regionPadding = 1;
    job_state.regionLeft = 2;
    job_state.regionTop = 0;
    job_state.regionRight = 8;
    job_state.regionBottom = 3;
    job_state.regionTopOverflow = 1;
    job_state.useJpegOutput = true;
    job_state.jpegOutputPath = "C:\\previews\\";
    EXPECT_EQ(render(1), 0);
    EXPECT_EQ(fake_max().calls_of("CurRendererRenderFrame"),
              Texts{"CurRendererRenderFrame 160 bitmap1 100 region 2,0,8,3"});
    for (const std::string name : {"C:\\out\\a0001.png", "C:\\out\\depth0001.exr"}) {
        EXPECT_EQ(fake_max().written[name].width, 4) << name;
        EXPECT_EQ(fake_max().written[name].height, 2) << name;
    }
    EXPECT_EQ(written().size(), 2U) << "a region has no preview";
    EXPECT_EQ(fake_max().bitmaps_alive, 0);
}

TEST_F(RenderingAFrame, DescriptionFollowsTheRendererAndTheRegion) {
    start();
    const auto prepared = [] {
        BitmapInfo info;
        info.SetCustomFlags(8);
        info.SetFlags(32);
        job_state.PrepareBitmapInfo(info);
        EXPECT_EQ(info.Flags(), 34U);
        EXPECT_EQ(info.CustomFlags(), 0U);
        EXPECT_EQ(info.Aspect(), 1.25F);
        return std::vector<int>{info.Type(), info.Width(), info.Height()};
    };
    EXPECT_EQ(prepared(), (std::vector<int>{7, 8, 4}));
    fake_max().requirements = {RENDERER_WANTS_FLOAT_OUTPUT};
    EXPECT_EQ(prepared(), (std::vector<int>{17, 8, 4}));
    fake_max().has_renderer = false;
    job_state.regionRendering = true;
    job_state.regionLeft = 2;
    job_state.regionRight = 7;
    job_state.regionTop = 1;
    job_state.regionBottom = 4;
    EXPECT_EQ(prepared(), (std::vector<int>{7, 5, 3}));
}

TEST_F(RenderingAFrame, PreviewIsWrittenWhereItCanBe) {
    const struct {
        std::string folder;
        bool still_on;
        std::string line;
        std::string preview;
    } cases[] = {
        {"C:\\previews\\a\\", true, "creating jpeg output path: C:\\previews\\a\\\n",
         "C:\\previews\\a\\a0001.jpg"},
        {"", false, "no jpeg output path specified, disabling jpeg output\n", ""},
        {"C:\\pre:views\\", false, "could not create jpeg output path, disabling jpeg output\n", ""},
    };
    for (const auto& [folder, still_on, line, preview] : cases) {
        start();
        job_state.useJpegOutput = true;
        job_state.jpegOutputPath = folder;
        EXPECT_EQ(render(1), 0);
        EXPECT_EQ(render(2), 0);
        EXPECT_EQ(job_state.useJpegOutput, still_on);
        EXPECT_NE(frame_log().find(line), std::string::npos) << frame_log();
        EXPECT_EQ(fake_max().written.contains(preview), still_on);
        EXPECT_EQ(job_state.writtenOutputFiles, Texts{"C:\\out\\a0002.png"});
        job_state.EndJob();
    }
    start();
    job_state.useJpegOutput = true;
    job_state.jpegOutputPath = "C:\\previews\\";
    fake_max().dropped_files = {"C:\\previews\\a0003.jpg"};
    EXPECT_EQ(render(3), 0);
    EXPECT_TRUE(
        logged("Failed to save jpeg output because: bm->Write() returned success, but the output file, "
               "\"C:\\previews\\a0003.jpg\" did not exist.\n"));
}

TEST_F(RenderingAFrame, WithoutAJobNothingIsRendered) {
    const std::string text = "RenderFrame called when consistency check flag jobRunning was not set";
    EXPECT_EQ(error_of(1), text);
    start();
    EXPECT_EQ(render(1), 0);
    job_state.EndJob();
    fake_max().calls.clear();
    EXPECT_EQ(error_of(1), text);
    EXPECT_EQ(fake_max().calls_of("OpenCurRenderer"), Texts{});
    EXPECT_EQ(fake_max().bitmaps_alive, 0);
}

/// Makes something in a frame go wrong.
struct Failure {
    std::string error;
    std::function<void()> arrange;
    bool multipass = false;
    bool region = false;
};

void fail_in_pass(int number, const std::function<void()>& happens) {
    fake_max().inside["CurRendererRenderFrame"] = [=, count = std::make_shared<int>(0)] {
        if (++*count == number) happens();
    };
}

TEST_F(RenderingAFrame, EveryFailureGivesAllBitmapsBackAndLetsTheNextFrameWork) {
    const AbandonedFramesMayLeak amnesty;
    const std::string no_bitmap = "Failed to allocate Bitmap: TheManager->Create() return NULL";
    const std::string fault = "Trapped SEH Exception in CurRendererRenderFrame(): Access Violation";
    const std::string dropped = "C:\\out\\depth0001.exr";
    const auto no_bitmap_number = [](int number) { return [number] { fake_max().failing_bitmap = number; }; };
    const auto in_renderer = [](std::function<void()> happens) {
        return [happens] { fake_max().inside["CurRendererRenderFrame"] = happens; };
    };
    const Failure failures[] = {
        {no_bitmap, no_bitmap_number(1)},
        {no_bitmap, no_bitmap_number(4), true},
        {"Failed to allocate region Bitmap: TheManager->Create() return NULL", no_bitmap_number(3), false,
         true},
        {"Failed to open the max renderer.", [] { fake_max().open_result = 0; }},
        {"Failed to open the max renderer.",
         [] { fake_max().inside["OpenCurRenderer"] = [] { read_address(16); }; }},
        {"invalid name \"out \" in path: \"C:\\out \\a0001.png\"",
         [] { fake_max().output.SetName("C:\\out \\a.png"); }},
        {"Failed to render the frame.", [] { fake_max().render_result = 0; }},
        {"its own", in_renderer([] { throw std::out_of_range("its own"); })},
        {fault, in_renderer([] { read_address(16); })},
        {"Failed to render the frame for pass 1 of 3", [] { fake_max().render_result = 0; }, true},
        {"Failed to render the frame for pass 3 of 3",
         [] { fail_in_pass(3, [] { fake_max().render_result = 0; }); }, true},
        {fault, [] { fail_in_pass(2, [] { read_address(16); }); }, true},
        {"0% of the output image is black, which equals or exceeds the minimum of 0%",
         [] { job_state.failOnBlackFrames = true; }},
        {"Error in bm->OpenOutput(): error code 3", [] { fake_max().open_output_result = 3; }},
        {"Error in bm->OpenOutput(): error code 3", [] { fake_max().open_output_result = 3; }, true},
        {"Error in bm->Write(): error code 4", [] { fake_max().write_result = 4; }, false, true},
        {"bm->Write() returned success, but the output file, \"" + dropped + "\" did not exist.",
         [&] { fake_max().dropped_files = {dropped}; }},
        {"bm->Write() returned success, but the output file, \"" + dropped + "\" did not exist.",
         [&] { fake_max().dropped_files = {dropped}; }, true},
    };
    for (const auto& [error, arrange, multipass, region] : failures) {
        std::filesystem::remove_all(on_disk("out"));
        fake_max() = FakeMax();
        fake_max().nodes["Cam"] = &m_camera_node;
        fake_max().output.SetName("C:\\out\\a.png");
        m_depth.record.bi.SetName("C:\\out\\depth.exr");
        fake_max().elements = {&m_depth};
        m_camera.effect_enabled = multipass;
        start("Cam");
        job_state.regionRendering = region;
        job_state.regionRight = 4;
        job_state.regionBottom = 2;
        arrange();
        const std::string message = error_of(1);
        EXPECT_TRUE(message == error || message == with_last_report(error) ||
                    message.starts_with(error + ":"))
            << message;
        EXPECT_EQ(fake_max().bitmaps_alive, 0) << error << (multipass ? " in passes" : "");
        EXPECT_EQ(m_depth.record.bm, nullptr) << error;
        EXPECT_FALSE(error.starts_with("Failed to open") && job_state.rendererOpen);
        EXPECT_EQ(job_state.writtenOutputFiles, written_before(error)) << error;

        fake_max().inside.clear();
        fake_max().failing_bitmap = 0;
        fake_max().open_result = fake_max().render_result = 1;
        fake_max().open_output_result = fake_max().write_result = 0;
        fake_max().dropped_files.clear();
        job_state.failOnBlackFrames = false;
        job_state.useOutputImageFilename = true;
        job_state.outputImageFilename = "C:\\out\\next.png";
        m_depth.record.bi.SetName("C:\\out\\depth.exr");
        EXPECT_EQ(render(2), 0) << error;
        EXPECT_EQ(fake_max().bitmaps_alive, 0) << error;
        job_state.EndJob();
    }
}

TEST_F(RenderingAFrame, BlackFrameLeavesNoFile) {
    start();
    job_state.failOnBlackFrames = true;
    job_state.blackFramePercentage = 100;
    fake_max().inside["CurRendererRenderFrame"] = [] {
        std::ranges::fill(fake_max().target->pixels, BMM_Color_fl{0, 0, 0, 1});
    };
    EXPECT_EQ(error_of(1), "100% of the output image is black, which equals or exceeds the minimum of 100%");
    EXPECT_EQ(written(), Texts{});
    fake_max().inside.clear();
    EXPECT_EQ(render(1), 0);
}

TEST_F(RenderingAFrame, FrameThatAFaultAbandonedLeaksNothing) {
    const AbandonedFramesMayLeak amnesty;
    fake_max().elements = {&m_depth};
    const char* const places[] = {"PrepareGChannels", "OpenOutput", "Apply", "AccumulateBitmap",
                                  "PostRenderFrame"};
    for (const char* place : places) {
        start_multipass();
        fake_max().inside[place] = [] { read_address(16); };
        quorvel::win32::simple_socket nobody;
        std::string error;
        EXPECT_EQ(job_state.CallRenderFrame(1, nobody, error), 1) << place;
        EXPECT_EQ(error, "Trapped SEH Exception in RenderFrame(): Access Violation") << place;
        fake_max().inside.clear();
        EXPECT_EQ(job_state.CallRenderFrame(2, nobody, error), 0) << place;
        EXPECT_EQ(fake_max().bitmaps_alive, 0) << place;
        job_state.EndJob();
    }
    start();
    fake_max().inside["OpenOutput"] = [] { read_address(16); };
    quorvel::win32::simple_socket nobody;
    std::string error;
    EXPECT_EQ(job_state.CallRenderFrame(1, nobody, error), 1);
    job_state.EndJob();
    EXPECT_EQ(fake_max().bitmaps_alive, 0) << "the end of the job gives them back too";
}

TEST_F(RenderingAFrame, FaultAtTheSecondFileLeavesTheFirst) {
    const AbandonedFramesMayLeak amnesty;
    fake_max().elements = {&m_depth};
    start();
    fake_max().inside["OpenOutput"] = [] {
        if (fake_max().calls_of("OpenOutput").size() == 2) read_address(16);
    };
    quorvel::win32::simple_socket nobody;
    std::string error;
    EXPECT_EQ(job_state.CallRenderFrame(1, nobody, error), 1);
    EXPECT_EQ(job_state.writtenOutputFiles, Texts{"C:\\out\\a0001.png"});
    EXPECT_TRUE(std::filesystem::exists(on_disk("out\\a0001.png")));
}

TEST_F(RenderingAFrame, ElementsWithoutABitmapHaveNoFile) {
    fake_max().elements = {&m_depth, &m_normal};
    // The image is the first bitmap, the elements' follow, then come their accumulators.
    const std::pair<bool, int> cases[] = {{false, 2}, {true, 2}, {true, 4}};
    for (const auto& [multipass, failing] : cases) {
        m_depth.record.bi.SetName("C:\\out\\depth.exr");
        m_normal.record.bi.SetName("C:\\elements\\normal.exr");
        multipass ? start_multipass() : start();
        fake_max().failing_bitmap = fake_max().bitmaps_made + failing;
        EXPECT_EQ(render(1), 0);
        Texts expected{"C:\\out\\a0001.png", "C:\\elements\\normal0001.exr"};
        if (failing == 2 && multipass) expected.insert(expected.begin() + 1, "C:\\out\\depth0001.exr");
        EXPECT_EQ(job_state.writtenOutputFiles, expected) << multipass << failing;
        EXPECT_EQ(fake_max().bitmaps_alive, 0);
        job_state.EndJob();
        m_camera.effect_enabled = false;
    }
}

TEST_F(RenderingAFrame, RendererThatDoesNotCloseKeepsItsElements) {
    const AbandonedFramesMayLeak amnesty;
    fake_max().elements = {&m_depth};
    start();
    job_state.restartRendererMode = true;
    fake_max().inside["CloseCurRenderer"] = [] { read_address(16); };
    EXPECT_NE(error_of(1), "");
    fake_max().inside.clear();
    m_depth.record.bi.SetName("C:\\out\\depth.exr");
    EXPECT_EQ(render(2), 0);
    EXPECT_EQ(job_state.writtenOutputFiles, (Texts{"C:\\out\\a0002.png", "C:\\out\\depth0002.exr"}));
}

TEST_F(RenderingAFrame, ScriptsInsideItCannotEndOrReplaceIt) {
    start();
    quorvel::win32::simple_socket nobody;
    std::string error;
    const std::pair<std::string, std::function<void()>> refused[] = {
        {"StartJob called when job was already running.",
         [&] { job_state.CallStartJob("b.max", "", error); }},
        {"RenderFrame called while a frame is being rendered.",
         [&] { job_state.CallRenderFrame(2, nobody, error); }},
        {"EndJob called while a frame is being rendered.", [&] { job_state.CallEndJob(error); }},
    };
    job_state.frameNumberBase = 10;
    fake_max().inside["CurRendererRenderFrame"] = [&] {
        for (const auto& [text, call] : refused)
            EXPECT_EQ(message_of(call), text);
    };
    EXPECT_EQ(job_state.CallRenderFrame(1, nobody, error), 0);
    EXPECT_EQ(job_state.writtenOutputFiles, Texts{"C:\\out\\a0011.png"});
    fake_max().inside.clear();
    EXPECT_EQ(job_state.CallRenderFrame(2, nobody, error), 0);
    job_state.CallEndJob(error);
    EXPECT_FALSE(job_state.jobRunning);
    EXPECT_EQ(fake_max().bitmaps_alive, 0);
}

TEST_F(RenderingAFrame, BitmapThatFaultsWhenItIsGivenBackFailsOneFrameOnly) {
    const AbandonedFramesMayLeak amnesty;
    start();
    fake_max().inside["DeleteThis"] = [] {
        if (fake_max().calls.back() == "DeleteThis bitmap1") read_address(16);
    };
    quorvel::win32::simple_socket nobody;
    std::string error;
    EXPECT_EQ(job_state.CallRenderFrame(1, nobody, error), 1);
    EXPECT_EQ(job_state.CallRenderFrame(2, nobody, error), 0) << error;
    EXPECT_EQ(fake_max().calls_of("DeleteThis"), (Texts{"DeleteThis bitmap1", "DeleteThis bitmap2"}));
}

}  // namespace
}  // namespace corrivane::test
