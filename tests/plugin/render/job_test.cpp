#include "plugin/plugin_test.h"
#include "quorvel/max3d/maxscript.h"

#include <max/exceptions.h>

#include <sstream>
#include <stdexcept>

namespace corrivane::test {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

using Job = PluginTest;

std::string address_of(const void* address) {
    std::ostringstream text;
    text << address;
    return text.str();
}

TEST_F(Job, StartsWithACheckAndALoad) {
    EXPECT_EQ(job_state.GetLastExceptionReport(), "No message");
    job_state.StartJob("C:\\a b.max", "");
    EXPECT_TRUE(job_state.jobRunning);
    EXPECT_THAT(fake_max().calls,
                ElementsAre("IsMaxFile C:\\a b.max", "LoadFromFile C:\\a b.max 6", "GetActiveViewport"));
    EXPECT_THAT(log(),
                StartsWith("StartJob begin\nsetting up default actions\nNot ignoring missing external"));
    EXPECT_THAT(log(),
                HasSubstr("\nChecking max file validity...\nTrying to load max file...\n"
                          "Successfully loaded the max file\nsetting up default actions again, just to "
                          "ensure they're set\nNot ignoring missing external file errors\n"));
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
    const struct {
        const char* inside;
        std::function<void()> happens;
        std::string error;
        std::string last_line;
    } cases[] = {
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

TEST_F(Job, RendererAndViewportsCameraAreRecognised) {
    FakeNode camera("Cam 2");
    const struct {
        bool has_renderer;
        Class_ID renderer;
        int view_type;
        bool class1;
        bool class2;
        const char* line;  ///< of the viewport's camera
    } cases[] = {
        {true, {0x52ad1c02, 0x112d2fbc}, 8, true, false, "Rendering viewport with camera: Cam 2\n"},
        {true, {0x58f67d6c, 0x4fcf3bc3}, 7, false, true, ""},
        {true, {0x52ad1c02, 0x4fcf3bc3}, 7, false, false, ""},
        {false, {0x52ad1c02, 0x112d2fbc}, 7, false, false, ""},
    };
    for (const auto& [has_renderer, renderer, view_type, class1, class2, line] : cases) {
        fake_max().has_renderer = has_renderer;
        fake_max().renderer_class = renderer;
        fake_max().viewport.type = view_type;
        fake_max().viewport.camera = &camera;
        job_state.StartJob("a.max", "");
        EXPECT_EQ(job_state.rendererClass1, class1);
        EXPECT_EQ(job_state.rendererClass2, class2);
        EXPECT_EQ(job_state.renderCameraNode, *line == '\0' ? nullptr : &camera);
        EXPECT_THAT(log(), EndsWith(address_of(&fake_max().viewport) + "\n" + line));
        job_state.EndJob();
    }
    fake_max().viewport.type = 8;
    fake_max().viewport.camera = nullptr;
    job_state.StartJob("a.max", "");
    EXPECT_THAT(log(), EndsWith("Viewport is of type camera, but it did not return a valid camera node\n"));
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

TEST_F(Job, GuardsForgetTheFramesOfAnAbandonedScriptAndLetExceptionsPass) {
    const AbandonedFramesMayLeak amnesty;
    job_state.StartJob("a.max", "");
    const ValueLocalsFrame* chain = current_locals_frame();
    fake_max().inside["OpenCurRenderer"] = [] {
        const quorvel::max3d::scoped_maxscript_frame frame;
        const quorvel::max3d::value_locals<1> locals;
        read_address(0x10);
    };
    std::string error = "left over";
    const auto open = [&] { return job_state.CallOpenCurRenderer(nullptr, nullptr, 4, 3, 2, error); };
    EXPECT_EQ(open(), 0);
    EXPECT_EQ(error, "Trapped SEH Exception in OpenCurRenderer(): Access Violation");
    EXPECT_THAT(job_state.GetLastExceptionReport(), HasSubstr("\nRead Address:  00000010\n"));
    EXPECT_EQ(current_locals_frame(), chain);

    fake_max().inside["OpenCurRenderer"] = [] { throw std::out_of_range("its own"); };
    EXPECT_EQ(message_of(open), "its own");
    EXPECT_EQ(error, "");
    EXPECT_THAT(job_state.GetLastExceptionReport(), HasSubstr("\nException Code:  E06D7363\n"));
}

}  // namespace
}  // namespace corrivane::test
