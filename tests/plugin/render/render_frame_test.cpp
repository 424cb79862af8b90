#include "plugin/plugin_test.h"
#include "support/file_system.h"

#include <algorithm>
#include <regex>

namespace corrivane::test {
namespace {

/// A job whose frames go to C:\out\a.png.
class RenderingAFrame : public PluginTest {
protected:
    RenderingAFrame() {
        m_camera.effect = &m_effect;
        set_the_scene();
    }
    ~RenderingAFrame() override {
        job_state.renderElements.clear();
        job_state.elementBitmaps.clear();
    }

    /// 3ds Max as every test begins with it; a later job finds the names of the elements as they were.
    void set_the_scene() {
        fake_max() = FakeMax();
        fake_max().nodes["Cam"] = &m_camera_node;
        fake_max().output.SetName("C:\\out\\a.png");
        name_elements();
    }
    void name_elements() {
        m_depth.record.bi.SetName("C:\\out\\depth.exr");
        m_normal.record.bi.SetName("C:\\elements\\normal.exr");
    }
    void start(bool multipass = false) {
        m_camera.effect_enabled = multipass;
        job_state.StartJob("a.max", multipass ? "Cam" : "");
        fake_max().calls.clear();
        m_log_before = log().size();
    }

    static void set_region(int left, int top, int right, int bottom) {
        job_state.regionRendering = true;
        job_state.regionLeft = left, job_state.regionTop = top;
        job_state.regionRight = right, job_state.regionBottom = bottom;
    }

    /// What a frame fails with: an exception's text, or a trapped fault's. "no exception" when it is rendered.
    static std::string render(int frame) {
        quorvel::win32::simple_socket nobody;
        std::string fault;
        const std::string error = message_of([&] { job_state.CallRenderFrame(frame, nobody, fault); });
        return fault.empty() ? error : fault;
    }
    std::string frame_log() const { return log().substr(m_log_before); }

    FakeEffect m_effect;
    FakeCamera m_camera;
    FakeNode m_camera_node{"Cam", &m_camera};
    FakeElement m_depth{""};
    FakeElement m_normal{""};
    FakeElement m_empty{"C:\\out\\none.exr"};
    std::size_t m_log_before = 0;
};

constexpr const char* fine = "no exception";
const std::string out = "C:\\out\\";
const std::string image = out + "a0001.png";
const std::string depth = out + "depth0001.exr";
const std::string normal = "C:\\elements\\normal0001.exr";

void fault() {
    read_address(16);
}

TEST_F(RenderingAFrame, FirstFrameFromTheTimeToTheRelease) {
    start();
    EXPECT_EQ(render(7), fine);
    EXPECT_THAT(
        fake_max().calls,
        ElementsAre("SetTime 1120 1", "PrepareGChannels bitmap1", "SetupRendParams 0",
                    "OpenCurRenderer camera none viewport active type 0 8x4", "Display bitmap1 5011",
                    "CurRendererRenderFrame 1120 bitmap1 100", "UnDisplay bitmap1",
                    "OpenOutput bitmap1 C:\\out\\a0007.png", "Write bitmap1 C:\\out\\a0007.png -2000000",
                    "Close bitmap1 0", "DeleteThis bitmap1"));
    EXPECT_EQ(
        std::regex_replace(frame_log(), std::regex("0x[0-9a-f]+"), "ADDRESS"),
        "Renderframe 7\nRendering frame C:\\out\\a0007.png\nBitmap ADDRESS\nRendering 0 render elements\n"
        "Setting up render parameters\nRendering view at address ADDRESS\nOpening renderer\n"
        "Multipass enabled = 0\nTotal passes = 1\nchecking output paths\ncreating output path: C:\\out\n"
        "checking default actions\n  TYPE_MISSING_EXTERNAL_FILES = FAIL\n  TYPE_MISSING_UVWS = FAIL\n"
        "  TYPE_MISSING_DLL_FILES = FAIL\n  TYPE_MISSING_XREF_FILES = FAIL\ncalling renderer\n"
        "CallCurRendererRenderFrame returned code 1\nrender done\nwriting to output file: "
        "C:\\out\\a0007.png\n");
    EXPECT_THAT(job_state.writtenOutputFiles, ElementsAre("C:\\out\\a0007.png"));
    EXPECT_STREQ(job_state.outputBitmapInfo.Name(), "C:\\out\\a.png");
}

TEST_F(RenderingAFrame, RendererStaysOpenUnlessItIsRestarted) {
    fake_max().elements = {&m_depth};
    for (const bool restart : {false, true}) {
        start();
        job_state.restartRendererMode = restart;
        for (int frame = 1; frame <= 3; ++frame) {
            EXPECT_EQ(render(frame), fine);
            EXPECT_EQ(job_state.rendererOpen, !restart);
            EXPECT_EQ(job_state.renderElements.size() + job_state.elementBitmaps.size(), restart ? 0U : 2U);
            EXPECT_THAT(job_state.writtenOutputFiles, SizeIs(2)) << "those of this frame alone";
        }
        EXPECT_THAT(fake_max().calls_of("OpenCurRenderer"), SizeIs(restart ? 3 : 1));
        EXPECT_THAT(fake_max().calls_of("CloseCurRenderer"), SizeIs(restart ? 3 : 0));
        job_state.EndJob();
    }
    EXPECT_EQ(fake_max().bitmaps_alive, 0);
}

TEST_F(RenderingAFrame, NamesFollowFrameBaseAndPadding) {
    // The output is the worker's, or null for the scene's; the files of image and element are in C:\out.
    const std::tuple<int, int, bool, const char*, const char*, const char*, int> cases[] = {
        {7, 1000, true, nullptr, "a1007.png", "depth1007.exr", 1120},
        {-3, 0, false, nullptr, "a.png", "depth.exr", -480},
        {7, -7, true, "C:\\out\\b.tga", "b0000.tga", "depth0000.exr", 1120},
        // Times and numbers wrap.
        {2'147'483'647, 1, true, "C:\\out\\b.png", "b-2147483648.png", "depth-2147483648.exr", -160}};
    fake_max().elements = {&m_depth};
    for (const auto& [frame, base, padding, output, name, element, time] : cases) {
        name_elements();
        start();
        job_state.frameNumberBase = base;
        job_state.removePadding = !padding;
        job_state.useOutputImageFilename = output != nullptr;
        if (output != nullptr) job_state.outputImageFilename = output;
        EXPECT_EQ(render(frame), fine);
        EXPECT_THAT(job_state.writtenOutputFiles, ElementsAre(out + name, out + element));
        EXPECT_EQ(fake_max().time, time);
        EXPECT_STREQ(job_state.outputBitmapInfo.Name(), "C:\\out\\a.png");
        job_state.EndJob();
    }
    start();
    job_state.useOutputImageFilename = true;
    const int bitmaps = fake_max().bitmaps_made;
    for (const std::string& name : {out + std::string(247, 'a') + ".png", std::string(5000, 'a')}) {
        job_state.outputImageFilename = name;
        job_state.removePadding = name.size() == 5000;
        EXPECT_EQ(render(1), "The output file name is too long for frame 1: \"" + name + "\"");
    }
    EXPECT_EQ(fake_max().bitmaps_made, bitmaps);
}

TEST_F(RenderingAFrame, ElementsAreRenderedBesideTheImage) {
    fake_max().elements = {&m_depth, &m_empty, &m_normal};
    m_empty.has_record = false;
    const std::tuple<bool, bool, bool, Texts> cases[] = {{true, false, true, {image, depth, normal}},
                                                         {true, true, true, {depth, normal}},
                                                         {false, false, true, {depth, normal}},
                                                         {true, false, false, {image}}};
    for (const auto& [save_file, renderer_saves, active, expected] : cases) {
        name_elements();
        fake_max().save_file = save_file;
        fake_max().requirements.clear();
        if (renderer_saves) fake_max().requirements.insert(RENDERER_SAVES_OUTPUT);
        fake_max().elements_active = active;
        start();
        fake_max().inside["CurRendererRenderFrame"] = [&, drawn = active] {
            EXPECT_EQ(m_depth.record.bm != nullptr && m_normal.record.bm != nullptr, drawn);
        };
        EXPECT_EQ(render(1), fine);
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
    start(true);
    job_state.showFrameBuffer = false;
    EXPECT_EQ(render(1), fine);
    // The image is bitmap1, the element's bitmap2 and its accumulator bitmap3, the pass bitmap4.
    const Texts& calls = fake_max().calls;
    EXPECT_THAT(Texts(std::ranges::find(calls, "Apply 0"), calls.end()),
                ElementsAre("Apply 0", "CurRendererRenderFrame 160 bitmap4 100 view",
                            "AccumulateBitmap bitmap1 += bitmap4, pass 0, time 160",
                            "AccumulateBitmap bitmap3 += bitmap2, pass 0, time 160", "Apply 1",
                            "CurRendererRenderFrame 170 bitmap4 100 view",
                            "AccumulateBitmap bitmap1 += bitmap4, pass 1, time 170",
                            "AccumulateBitmap bitmap3 += bitmap2, pass 1, time 170", "DeleteThis bitmap4",
                            "PostRenderFrame", "OpenOutput bitmap1 C:\\out\\a0001.png",
                            "Write bitmap1 C:\\out\\a0001.png -2000000", "Close bitmap1 0",
                            "DeleteThis bitmap2", "OpenOutput bitmap3 C:\\out\\depth0001.exr",
                            "Write bitmap3 C:\\out\\depth0001.exr -2000000", "Close bitmap3 0",
                            "DeleteThis bitmap3", "DeleteThis bitmap1"));
    EXPECT_TRUE(
        logged("calling renderer\nrendering multipass effect:\n\trendering pass: 1 of 2\n"
               "CallCurRendererRenderFrame returned code 1\n\tsuccess\n\trendering pass: 2 of 2\n"
               "CallCurRendererRenderFrame returned code 1\n\tsuccess\nrender done\n"))
        << log();
    for (int frame = 2; frame < 4; ++frame)
        EXPECT_EQ(render(frame), fine);
    EXPECT_EQ(fake_max().bitmaps_alive, 0);
}

TEST_F(RenderingAFrame, FrameBufferIsShownUnlessHiddenOrTheRendererHasItsOwn) {
    for (int i = 0; i < 8; ++i) {
        const bool multipass = (i & 1) != 0, show = (i & 2) != 0, class1 = (i & 4) != 0;
        fake_max().renderer_class = class1 ? Class_ID{0x52ad1c02, 0x112d2fbc} : Class_ID{1, 2};
        start(multipass);
        job_state.showFrameBuffer = show;
        EXPECT_EQ(render(1), fine);
        // Each pass is shown; the window goes after the last.
        const int shown = show && !class1 ? 1 : 0;
        EXPECT_THAT(fake_max().calls_of("Display"), SizeIs(multipass ? 3 * shown : shown));
        EXPECT_THAT(fake_max().calls_of("UnDisplay"), SizeIs(shown));
        job_state.EndJob();
    }
}

TEST_F(RenderingAFrame, DescriptionFollowsTheRendererAndTheRegion) {
    start();
    const auto prepared = [] {
        BitmapInfo info;
        info.SetCustomFlags(8);
        info.SetFlags(32);
        job_state.PrepareBitmapInfo(info);
        return std::vector<int>{
            int(info.Flags()), int(info.CustomFlags()), int(info.Aspect() * 100), info.Type(), info.Width(),
            info.Height()};
    };
    EXPECT_THAT(prepared(), ElementsAre(34, 0, 125, 7, 8, 4));
    fake_max().requirements = {RENDERER_WANTS_FLOAT_OUTPUT};
    EXPECT_THAT(prepared(), ElementsAre(34, 0, 125, 17, 8, 4));
    fake_max().has_renderer = false;
    set_region(2, 1, 7, 4);
    EXPECT_THAT(prepared(), ElementsAre(34, 0, 125, 7, 5, 3));
}

TEST_F(RenderingAFrame, PreviewIsWrittenWhereItCanBe) {
    const std::string failed = "Failed to save jpeg output because: ";
    const struct {
        std::string folder;
        bool still_on;
        std::string line;
        std::string preview;  ///< empty: none
        const char* output = "C:\\out\\b.png";
    } cases[] = {
        {"C:\\previews\\a\\", true, "creating jpeg output path: C:\\previews\\a\\\n",
         "C:\\previews\\a\\b0001.jpg"},
        {"C:\\previews\\", true, "writing jpeg output to temp file: C:\\previews\\b0001.jpg\n",
         "C:\\previews\\b0001.jpg"},
        {"C:\\previews", true, "", "C:\\previewsb0001.jpg"},
        {"", false, "no jpeg output path specified, disabling jpeg output\n", ""},
        {"C:\\pre:views\\", false, "could not create jpeg output path, disabling jpeg output\n", ""},
        {"C:\\previews\\", true, failed + "invalid name \"my b0001.jpg\"", "", "C:\\out\\my b.png"},
        {"C:\\previews\\", true,
         failed + "bm->Write() returned success, but the output file, \"C:\\previews\\lost0001.jpg\" did", "",
         "C:\\out\\lost.png"},
    };
    fake_max().dropped_files = {"C:\\previews\\lost0001.jpg"};
    for (const auto& [folder, still_on, line, preview, output] : cases) {
        start();
        job_state.useOutputImageFilename = job_state.useJpegOutput = true;
        job_state.outputImageFilename = output;
        job_state.jpegOutputPath = folder;
        EXPECT_EQ(render(1), fine);
        EXPECT_EQ(job_state.useJpegOutput, still_on);
        EXPECT_THAT(frame_log(), HasSubstr(line));
        EXPECT_TRUE(preview.empty() || file_exists(preview)) << preview;
        EXPECT_THAT(job_state.writtenOutputFiles, SizeIs(1));
        job_state.EndJob();
    }
}

/// Makes something in a frame go wrong.
struct Failure {
    std::string error;
    std::function<void()> arrange;
    bool multipass = false;
    bool region = false;
    Texts written = {};  ///< and kept
};

/// What happens in the renderer's call of that number.
std::function<void()> in_call(int number, const std::string& name, const std::function<void()>& happens) {
    return [=] {
        fake_max().inside[name] = [=, count = std::make_shared<int>(0)] {
            if (++*count == number) happens();
        };
    };
}

TEST_F(RenderingAFrame, EveryFailureGivesAllBitmapsBackAndLetsTheNextFrameWork) {
    const AbandonedFramesMayLeak amnesty;
    const std::string no_bitmap = "Failed to allocate Bitmap: TheManager->Create() return NULL";
    const std::string renderer_fault = "Trapped SEH Exception in CurRendererRenderFrame(): Access Violation";
    const std::string frame_fault = "Trapped SEH Exception in RenderFrame(): Access Violation";
    const std::string dropped =
        "bm->Write() returned success, but the output file, \"" + depth + "\" did not exist.";
    const auto no_bitmap_number = [](int number) { return [number] { fake_max().failing_bitmap = number; }; };
    const auto no_image = [] { fake_max().render_result = 0; };
    const auto in_renderer = [](int number, const std::function<void()>& happens) {
        return in_call(number, "CurRendererRenderFrame", happens);
    };
    const auto drop_depth = [&] { fake_max().dropped_files = {depth}; };
    const Failure failures[] = {
        {no_bitmap, no_bitmap_number(1)},
        {no_bitmap, no_bitmap_number(4), true},
        {"Failed to allocate region Bitmap: TheManager->Create() return NULL", no_bitmap_number(3), false,
         true},
        {"Failed to open the max renderer.", [] { fake_max().open_result = 0; }},
        {"Failed to open the max renderer.", in_call(1, "OpenCurRenderer", fault)},
        {"invalid name \"out \" in path: \"C:\\out \\a0001.png\"",
         [] { fake_max().output.SetName("C:\\out \\a.png"); }},
        {"Failed to render the frame.", no_image},
        {"its own", in_renderer(1, [] { throw std::out_of_range("its own"); })},
        {renderer_fault, in_renderer(1, fault)},
        {"Failed to render the frame for pass 1 of 3", no_image, true},
        {"Failed to render the frame for pass 3 of 3", in_renderer(3, no_image), true},
        {renderer_fault, in_renderer(2, fault), true},
        {"0% of the output image is black, which equals or exceeds the minimum of 0%",
         [] { job_state.failOnBlackFrames = true; }},
        {"Error in bm->OpenOutput(): error code 3", [] { fake_max().open_output_result = 3; }},
        {"Error in bm->Write(): error code 4", [] { fake_max().write_result = 4; }, false, true},
        {dropped, drop_depth, true, false, {image}},
        {frame_fault, in_call(1, "PrepareGChannels", fault), true},
        {frame_fault, in_call(1, "Apply", fault), true},
        {frame_fault, in_call(2, "AccumulateBitmap", fault), true},
        {frame_fault, in_call(1, "PostRenderFrame", fault), true},
        {frame_fault, in_call(1, "OpenOutput", fault), false, true},
        {frame_fault, in_call(2, "OpenOutput", fault), false, false, {image}},
    };
    for (const auto& [error, arrange, multipass, region, written] : failures) {
        set_the_scene();
        fake_max().elements = {&m_depth};
        start(multipass);
        if (region) set_region(0, 0, 4, 2);
        arrange();
        EXPECT_THAT(render(1), StartsWith(error));
        EXPECT_EQ(job_state.writtenOutputFiles, written) << error;
        if (error != frame_fault) {
            EXPECT_EQ(fake_max().bitmaps_alive, 0) << error << (multipass ? " in passes" : "");
            EXPECT_EQ(m_depth.record.bm, nullptr) << error;
        }
        EXPECT_FALSE(error.starts_with("Failed to open") && job_state.rendererOpen);

        FakeMax& max = fake_max();
        max.inside.clear();
        max.dropped_files.clear();
        max.failing_bitmap = max.open_output_result = max.write_result = 0;
        max.open_result = max.render_result = 1;
        name_elements();
        job_state.failOnBlackFrames = false;
        job_state.useOutputImageFilename = true;
        job_state.outputImageFilename = out + "next.png";
        EXPECT_EQ(render(2), fine) << error;
        EXPECT_EQ(fake_max().bitmaps_alive, 0) << error;
        job_state.EndJob();
    }
    start();
    in_call(1, "OpenOutput", fault)();
    EXPECT_EQ(render(1), frame_fault);
    job_state.EndJob();
    EXPECT_EQ(fake_max().bitmaps_alive, 0) << "the end of the job gives them back too";
}

TEST_F(RenderingAFrame, FaultWhileABitmapIsGivenBackOrTheRendererClosesFailsOneFrameOnly) {
    const AbandonedFramesMayLeak amnesty;
    for (const char* call : {"DeleteThis", "CloseCurRenderer"}) {
        set_the_scene();
        fake_max().elements = {&m_depth};
        start();
        job_state.restartRendererMode = true;
        in_call(1, call, fault)();
        EXPECT_NE(render(1), fine);
        name_elements();
        EXPECT_EQ(render(2), fine);
        EXPECT_THAT(job_state.writtenOutputFiles, ElementsAre(out + "a0002.png", out + "depth0002.exr"));
        EXPECT_THAT(fake_max().calls_of("DeleteThis"), testing::Contains("DeleteThis bitmap1").Times(1));
        job_state.EndJob();
    }
}

TEST_F(RenderingAFrame, ElementsWithoutABitmapHaveNoFile) {
    fake_max().elements = {&m_depth, &m_normal};
    // The image is the first bitmap, the elements' follow, then come their accumulators.
    const std::tuple<bool, int, Texts> cases[] = {
        {false, 2, {image, normal}}, {true, 2, {image, depth, normal}}, {true, 4, {image, normal}}};
    for (const auto& [multipass, failing, written] : cases) {
        name_elements();
        start(multipass);
        fake_max().failing_bitmap = fake_max().bitmaps_made + failing;
        EXPECT_EQ(render(1), fine);
        EXPECT_EQ(job_state.writtenOutputFiles, written) << multipass << failing;
        EXPECT_EQ(fake_max().bitmaps_alive, 0);
        job_state.EndJob();
    }
}

TEST_F(RenderingAFrame, ScriptsInsideItCannotEndOrReplaceIt) {
    start();
    std::string error;
    job_state.frameNumberBase = 10;
    fake_max().inside["CurRendererRenderFrame"] = [&] {
        EXPECT_EQ(message_of([&] { job_state.CallStartJob("b.max", "", error); }),
                  "StartJob called when job was already running.");
        EXPECT_EQ(message_of([&] { job_state.CallEndJob(error); }),
                  "EndJob called while a frame is being rendered.");
        EXPECT_EQ(render(2), "RenderFrame called while a frame is being rendered.");
    };
    EXPECT_EQ(render(1), fine);
    EXPECT_THAT(job_state.writtenOutputFiles, ElementsAre("C:\\out\\a0011.png"));
    fake_max().inside.clear();
    EXPECT_EQ(render(2), fine);
    job_state.CallEndJob(error);
    EXPECT_FALSE(job_state.jobRunning);
    EXPECT_EQ(fake_max().bitmaps_alive, 0);
}

}  // namespace
}  // namespace corrivane::test
