#include "plugin/plugin_test.h"

#include <max/exceptions.h>

#include <sstream>

namespace corrivane::test {
namespace {

using Job = PluginTest;

constexpr Class_ID other_renderer{1, 2};
constexpr Class_ID renderer_class_1{0x52ad1c02, 0x112d2fbc};
constexpr Class_ID renderer_class_2{0x58f67d6c, 0x4fcf3bc3};
constexpr Class_ID usual_camera{0xC, 0xD};
constexpr Class_ID holder_camera{0x399ee5f2, 0x584a71a8};
constexpr Class_ID usual_effect{0xE, 0xF};
constexpr Class_ID single_pass_effect{0x6cc9546e, 0x0b1961b9};

std::string address_of(const void* address) {
    return (std::ostringstream() << address).str();
}

TEST_F(Job, StartsWithACheckAndALoad) {
    EXPECT_EQ(job_state.GetLastExceptionReport(), "No message");
    job_state.StartJob("C:\\a b.max", "");
    EXPECT_THAT(fake_max().calls,
                ElementsAre("IsMaxFile C:\\a b.max", "LoadFromFile C:\\a b.max 6", "GetActiveViewport"));
    EXPECT_THAT(log(),
                StartsWith("StartJob begin\nsetting up default actions\nNot ignoring missing external"));
    EXPECT_TRUE(
        logged("\nChecking max file validity...\nTrying to load max file...\nSuccessfully loaded the max "
               "file\nsetting up default actions again, just to ensure they're set\nNot ignoring"));
}

TEST_F(Job, IgnoreFlagsHoldForTheLoadAndForLaterJobs) {
    job_state.ignoreMissingExternalFiles = job_state.ignoreMissingDLLs = true;
    // The load of a scene may change them.
    fake_max().inside["LoadFromFile"] = [] { fake_max().default_actions = {{1, 9}, {2, 9}, {3, 9}, {4, 9}}; };
    const std::map<int, int> wanted{{1, 1}, {2, 1}, {3, 5}, {4, 5}};
    fake_max().inside["IsMaxFile"] = [&] { EXPECT_EQ(fake_max().default_actions, wanted); };
    for (int job = 0; job < 2; ++job) {
        job_state.StartJob("a.max", "");
        EXPECT_EQ(fake_max().default_actions, wanted);
        job_state.EndJob();
    }
    EXPECT_TRUE(
        logged("\nIgnoring missing external file errors\nNot ignoring missing UVW cooridinate errors\n"
               "Ignoring missing DLL errors\nNot ignoring missing XREF errors\n"));
    fake_max().default_actions[3] = 0;
    job_state.CheckDefaultActions();
    EXPECT_THAT(log(), EndsWith("checking default actions\n  TYPE_MISSING_EXTERNAL_FILES = IGNORE\n"
                                "  TYPE_MISSING_UVWS = FAIL\n  TYPE_MISSING_DLL_FILES = IGNORE\n"
                                "  TYPE_MISSING_XREF_FILES = FAIL\n"));
}

TEST_F(Job, OptionsAreResetEvenIfTheJobIsRefused) {
    JobState& job = job_state;
    job.StartJob("a.max", "");
    bool JobState::*const flags[] = {
        &JobState::restartRendererMode,    &JobState::removePadding,     &JobState::alphaSplit,
        &JobState::useOutputImageFilename, &JobState::failOnBlackFrames, &JobState::useJpegOutput,
        &JobState::regionRendering,        &JobState::rendererClass1,    &JobState::rendererClass2};
    int JobState::*const numbers[] = {
        &JobState::frameNumberBase,     &JobState::blackFramePercentage, &JobState::regionLeft,
        &JobState::regionTop,           &JobState::regionRight,          &JobState::regionBottom,
        &JobState::regionPadding,       &JobState::regionLeftOverflow,   &JobState::regionTopOverflow,
        &JobState::regionRightOverflow, &JobState::regionBottomOverflow};
    for (const auto flag : flags)
        job.*flag = true;
    for (const auto number : numbers)
        job.*number = 7;
    job.showFrameBuffer = false;
    job.blackFrameThreshold = 0.7F;
    job.outputImageFilename = "kept";
    job.jpegOutputPath = "dropped";
    EXPECT_EQ(message_of([&] { job.StartJob("b.max", ""); }),
              "StartJob called when job was already running.");
    EXPECT_TRUE(job.jobRunning && job.showFrameBuffer);
    for (const auto flag : flags)
        EXPECT_FALSE(job.*flag);
    for (const auto number : numbers)
        EXPECT_EQ(job.*number, 0);
    EXPECT_EQ(job.blackFrameThreshold, 0.1F);
    EXPECT_EQ(job.outputImageFilename + job.jpegOutputPath, "kept");
    EXPECT_THAT(log(), EndsWith("StartJob begin\n"));
}

TEST_F(Job, EveryFailureToStartHasItsTextAndLeavesNoJob) {
    const AbandonedFramesMayLeak amnesty;
    const std::tuple<const char*, std::function<void()>, std::string, std::string> cases[] = {
        {"IsMaxFile", [] { fake_max().is_max_file = false; }, "Invalid max file: \"a.max\"",
         "Checking max file validity..."},
        {"LoadFromFile", [] { fake_max().load_result = 0; }, "Failed to load max file: \"a.max\"",
         "LoadFromFile() returned failure"},
        {"LoadFromFile", [] { throw std::out_of_range("too far"); },
         "Caught an exception in GetCOREInterface()->LoadFromFile(): too far",
         "catch(std::exception& e) from LoadFromFile()"},
        {"LoadFromFile", [] { throw MAXException("no"); },
         "Caught a MAXException in GetCOREInterface()->LoadFromFile(): no",
         "catch(MAXException& e) from LoadFromFile()"},
        {"LoadFromFile", [] { throw 17; }, "3ds max crashed in GetCOREInterface()->LoadFromFile(): \"a.max\"",
         "catch(...) from LoadFromFile()"},
        {"LoadFromFile", [] { read_address(0x10); },
         "Trapped SEH Exception in LoadFromFile(): Access Violation", "Trying to load max file..."},
        {"", [] {}, "Scene does not contain render camera \"Cam 1\"",
         "Got the active viewport: " + address_of(&fake_max().viewport)},
    };
    for (const auto& [inside, happens, error, last_line] : cases) {
        fake_max() = FakeMax();
        fake_max().inside[inside] = happens;
        const std::string message = message_of([] { job_state.StartJob("a.max", "Cam 1"); });
        EXPECT_EQ(message, error.starts_with("Trapped") ? with_last_report(error) : error);
        EXPECT_THAT(log(), EndsWith("\n" + last_line + "\n"));
        EXPECT_FALSE(job_state.jobRunning);
    }
}

TEST_F(Job, RendersThroughTheCameraOfACameraViewport) {
    FakeNode camera("Cam 2");
    fake_max().has_renderer = false;
    const std::tuple<int, INode*, std::string> cases[] = {
        {8, &camera, "Rendering viewport with camera: Cam 2\n"},
        {8, nullptr, "Viewport is of type camera, but it did not return a valid camera node\n"},
        {7, &camera, ""}};
    for (const auto& [view_type, viewed, line] : cases) {
        fake_max().viewport.type = view_type;
        fake_max().viewport.camera = viewed;
        job_state.StartJob("a.max", "");
        EXPECT_EQ(job_state.renderCameraNode, view_type == 8 ? viewed : nullptr);
        EXPECT_THAT(log(), EndsWith(address_of(&fake_max().viewport) + "\n" + line));
        job_state.EndJob();
    }
}

TEST_F(Job, EndsWithTheRendererClosedAndTheViewportGivenBack) {
    const AbandonedFramesMayLeak amnesty;
    FakeEffect effect;
    job_state.StartJob("a.max", "");
    job_state.OpenRenderer(0);
    job_state.multipassEffect = &effect;
    fake_max().inside["CloseCurRenderer"] = [] { read_address(0x10); };
    const std::string error = message_of([] { job_state.EndJob(); });
    EXPECT_EQ(error, with_last_report("Trapped SEH Exception in CloseCurRenderer(): Access Violation"));
    EXPECT_TRUE(job_state.jobRunning && job_state.rendererOpen) << "kept for another try";

    fake_max().inside.clear();
    fake_max().calls.clear();
    job_state.EndJob();
    EXPECT_THAT(fake_max().calls, ElementsAre("CloseCurRenderer", "ReleaseViewport active", "FileReset 1"));
    EXPECT_FALSE(job_state.jobRunning || job_state.rendererOpen);
    EXPECT_EQ(job_state.multipassEffect, nullptr);
    EXPECT_EQ(message_of([] { job_state.EndJob(); }),
              "EndJob called when consistency check flag jobRunning was not set");
    job_state.CloseRenderer();
    EXPECT_EQ(fake_max().calls.size(), 3U);
}

TEST_F(Job, GuardsReportWhatPassesAndWhatTheyTrap) {
    const AbandonedFramesMayLeak amnesty;
    job_state.StartJob("a.max", "");
    std::string error = "left over";
    const auto open = [&] { return job_state.CallOpenCurRenderer(nullptr, nullptr, 4, 3, 2, error); };
    fake_max().inside["OpenCurRenderer"] = [] { throw std::out_of_range("its own"); };
    EXPECT_EQ(message_of(open) + error, "its own");
    EXPECT_THAT(job_state.GetLastExceptionReport(), HasSubstr("\nException Code:  E06D7363\n"));
    fake_max().inside["OpenCurRenderer"] = [] { read_address(0x10); };
    EXPECT_EQ(open(), 0);
    EXPECT_THAT(job_state.GetLastExceptionReport(), HasSubstr("\nRead Address:  00000010\n"));
}

TEST_F(Job, OpensViewportsAndCamerasForTheImageOrTheRegion) {
    FakeObject no_camera;
    FakeNode node("Cam", &no_camera);
    FakeNode empty_node("Empty");
    fake_max().nodes = {{"Cam", &node}, {"Empty", &empty_node}};
    const std::tuple<const char*, bool, std::string> cases[] = {
        {"", true, "OpenCurRenderer camera none viewport active type 4 8x4"},
        {"Cam", false, "OpenCurRenderer camera Cam viewport none type 0 8x4"},
        {"Empty", true, "OpenCurRenderer camera Empty viewport none type 4 8x4"},
    };
    for (const auto& [camera, region, call] : cases) {
        job_state.StartJob("a.max", camera);
        job_state.regionRendering = region;
        fake_max().calls.clear();
        job_state.OpenRenderer(7);
        EXPECT_THAT(fake_max().calls, ElementsAre(region ? "SetupRendParams 4" : "SetupRendParams 0", call));
        job_state.EndJob();
    }
}

TEST_F(Job, MultipassEffectOfTheCameraOrOfItsHolderDecidesAboutThePasses) {
    FakeEffect own;
    own.passes = 5;
    FakeEffect held;
    held.passes = 7;
    FakeCamera camera;
    FakeCamera first_holder;
    FakeCamera last_holder;
    last_holder.effect = &held;
    FakeNode first("Multipass", &first_holder);
    FakeNode other("multipass", &camera);
    FakeNode last("Multipass", &last_holder);
    FakeNode node("Cam", &camera);
    fake_max().nodes["Cam"] = &node;
    const struct {
        Class_ID renderer, camera, effect;
        bool enabled, has_effect, has_holder, held_enabled, multipass;
        int passes;
        IMultiPassCameraEffect* used;
    } cases[] = {
        {other_renderer, usual_camera, usual_effect, false, true, false, false, false, 1, nullptr},
        {other_renderer, usual_camera, usual_effect, true, true, false, false, true, 5, &own},
        {other_renderer, usual_camera, single_pass_effect, true, true, false, false, false, 1, &own},
        {renderer_class_2, usual_camera, single_pass_effect, true, true, false, false, true, 1, &own},
        {other_renderer, usual_camera, usual_effect, true, false, false, false, false, 1, nullptr},
        {renderer_class_1, holder_camera, usual_effect, true, true, true, true, true, 7, &held},
        {renderer_class_1, holder_camera, usual_effect, true, true, true, false, false, 1, nullptr},
        {renderer_class_1, holder_camera, usual_effect, true, true, false, true, false, 1, nullptr},
        {renderer_class_2, holder_camera, usual_effect, true, true, true, true, true, 5, &own},
    };
    for (const auto& c : cases) {
        fake_max().renderer_class = c.renderer;
        camera.id = c.camera;
        own.id = c.effect;
        camera.effect_enabled = c.enabled;
        camera.effect = c.has_effect ? &own : nullptr;
        node.children = {&other};
        if (c.has_holder) node.children = {&first, &other, &last};
        last_holder.effect_enabled = c.held_enabled;
        job_state.StartJob("a.max", "Cam");
        job_state.OpenRenderer(0);
        EXPECT_EQ(job_state.multipassEnabled, c.multipass) << "row " << &c - cases;
        EXPECT_EQ(job_state.multipassTotalPasses, c.passes);
        EXPECT_EQ(job_state.multipassEffect, c.used);
        job_state.EndJob();
    }
    EXPECT_TRUE(logged("\nMultipass plugin holder camera node Multipass\n"));
}

}  // namespace
}  // namespace corrivane::test
