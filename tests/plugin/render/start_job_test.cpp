#include "fakes/fake_max.h"
#include "plugin/plugin_test.h"
#include "support/message_of.h"
#include "support/provoked_fault.h"

#include <max/exceptions.h>

#include <functional>
#include <sstream>
#include <stdexcept>

namespace corrivane::test {
namespace {

using StartingAJob = PluginTest;

std::string actions_log(const std::string& word) {
    return word + "issing external file errors\n" + word + "issing UVW cooridinate errors\n" + word +
           "issing DLL errors\n" + word + "issing XREF errors\n";
}

TEST_F(StartingAJob, FreshStateHasItsDefaults) {
    const JobState& job = job_state;
    EXPECT_FALSE(job.jobRunning || job.rendererOpen || job.showFrameBuffer || job.rendererClass1);
    EXPECT_EQ(job.blackFrameThreshold, 0);
    EXPECT_EQ(job.multipassTotalPasses, 0);
    EXPECT_EQ(job.coreInterface, nullptr);
    EXPECT_EQ(job.GetLastExceptionReport(), "No message");
    EXPECT_EQ(job.DescribeOutput(), "[filename] \n[format] \n[size] 0x0\n[aspect] 1\n");
}

TEST_F(StartingAJob, ScenesAreCheckedAndLoadedUnderThePolicies) {
    job_state.StartJob("C:\\a b.max", "");
    EXPECT_TRUE(job_state.jobRunning);
    EXPECT_EQ(fake_max().calls,
              (std::vector<std::string>{"IsMaxFile C:\\a b.max", "LoadFromFile C:\\a b.max 6",
                                        "GetActiveViewport"}));
    EXPECT_EQ(fake_max().default_actions, (std::map<int, int>{{1, 5}, {2, 5}, {3, 5}, {4, 5}}));
    std::ostringstream viewport;
    viewport << static_cast<const void*>(&fake_max().viewport);
    EXPECT_EQ(
        log(),
        "StartJob begin\nsetting up default actions\n" + actions_log("Not ignoring m") +
            "Checking max file validity...\nTrying to load max file...\nSuccessfully loaded the max file\n"
            "setting up default actions again, just to ensure they're set\n" +
            actions_log("Not ignoring m") + "Got the active viewport: " + viewport.str() + "\n");
}

TEST_F(StartingAJob, IgnoreFlagsHoldForTheLoadAndForLaterJobs) {
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
    EXPECT_TRUE(
        log().ends_with("checking default actions\n  TYPE_MISSING_EXTERNAL_FILES = IGNORE\n"
                        "  TYPE_MISSING_UVWS = FAIL\n  TYPE_MISSING_DLL_FILES = IGNORE\n"
                        "  TYPE_MISSING_XREF_FILES = FAIL\n"));
}

TEST_F(StartingAJob, OptionsAreResetEvenIfTheJobIsRefused) {
    JobState& job = job_state;
    job.StartJob("a.max", "");
    job.restartRendererMode = job.removePadding = job.alphaSplit = job.useOutputImageFilename = true;
    job.failOnBlackFrames = job.useJpegOutput = job.regionRendering = job.rendererClass1 = true;
    job.showFrameBuffer = false;
    job.frameNumberBase = job.blackFramePercentage = job.regionLeft = job.regionTop = job.regionRight = 7;
    job.regionBottom = job.regionPadding = job.regionLeftOverflow = job.regionBottomOverflow = 7;
    job.blackFrameThreshold = 0.7F;
    job.outputImageFilename = "kept";
    job.jpegOutputPath = "dropped";
    job.currentFrame = 7;
    EXPECT_EQ(message_of([&] { job.StartJob("b.max", ""); }),
              "StartJob called when job was already running.");
    EXPECT_TRUE(job.jobRunning);
    EXPECT_TRUE(job.showFrameBuffer);
    for (const bool flag :
         {job.restartRendererMode, job.removePadding, job.alphaSplit, job.useOutputImageFilename,
          job.failOnBlackFrames, job.useJpegOutput, job.regionRendering, job.rendererClass1})
        EXPECT_FALSE(flag);
    for (const int number :
         {job.frameNumberBase, job.blackFramePercentage, job.regionLeft, job.regionTop, job.regionRight,
          job.regionBottom, job.regionPadding, job.regionLeftOverflow, job.regionBottomOverflow})
        EXPECT_EQ(number, 0);
    EXPECT_EQ(job.blackFrameThreshold, 0.1F);
    EXPECT_EQ(job.jpegOutputPath, "");
    EXPECT_EQ(job.outputImageFilename, "kept");
    EXPECT_EQ(job.currentFrame, 7);
    EXPECT_TRUE(log().ends_with("StartJob begin\n"));
}

TEST_F(StartingAJob, EveryFailureHasItsTextAndLeavesNoJob) {
    const AbandonedFramesMayLeak amnesty;
    const std::string caught = "Caught an exception in GetCOREInterface()->LoadFromFile(): ";
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
        {"LoadFromFile", [] { throw std::out_of_range("too far"); }, caught + "too far",
         "catch(std::exception& e) from LoadFromFile()"},
        {"LoadFromFile", [] { throw MAXException("no"); },
         "Caught a MAXException in GetCOREInterface()->LoadFromFile(): no",
         "catch(MAXException& e) from LoadFromFile()"},
        {"LoadFromFile", [] { throw 17; }, "3ds max crashed in GetCOREInterface()->LoadFromFile(): \"a.max\"",
         "catch(...) from LoadFromFile()"},
    };
    for (const auto& [inside, happens, error, last_line] : cases) {
        fake_max() = FakeMax();
        fake_max().inside[inside] = happens;
        EXPECT_EQ(message_of([] { job_state.StartJob("a.max", ""); }), error);
        EXPECT_TRUE(log().ends_with("\n" + last_line + "\n")) << log();
        EXPECT_FALSE(job_state.jobRunning);
    }
    fake_max() = FakeMax();
    EXPECT_EQ(message_of([] { job_state.StartJob("a.max", "Cam 1"); }),
              "Scene does not contain render camera \"Cam 1\"");
    EXPECT_FALSE(job_state.jobRunning);
    fake_max().inside["LoadFromFile"] = [] { read_address(0x10); };
    const std::string error = message_of([] { job_state.StartJob("a.max", ""); });
    EXPECT_EQ(error, with_last_report("Trapped SEH Exception in LoadFromFile(): Access Violation"));
    EXPECT_FALSE(job_state.jobRunning);
    fake_max().inside.clear();
    job_state.StartJob("a.max", "");
    EXPECT_TRUE(job_state.jobRunning);
}

TEST_F(StartingAJob, CameraIsTheNamedOneOrTheViewports) {
    FakeNode named("Cam 1");
    FakeNode of_viewport("Cam 2");
    const struct {
        const char* name;
        int view_type;
        INode* view_camera;
        INode* chosen;
        std::string line;
    } cases[] = {
        {"Cam 1", 8, &of_viewport, &named, ""},
        {"", 8, &of_viewport, &of_viewport, "Rendering viewport with camera: Cam 2\n"},
        {"", 8, nullptr, nullptr, "Viewport is of type camera, but it did not return a valid camera node\n"},
        {"", 7, &of_viewport, nullptr, ""},
    };
    for (const auto& [name, view_type, view_camera, chosen, line] : cases) {
        fake_max() = FakeMax();
        fake_max().nodes["Cam 1"] = &named;
        fake_max().viewport.type = view_type;
        fake_max().viewport.camera = view_camera;
        job_state.StartJob("a.max", name);
        EXPECT_EQ(job_state.renderCameraNode, chosen);
        const std::string written = log();
        const std::size_t start = written.rfind("Got the active viewport: ");
        EXPECT_EQ(written.substr(written.find('\n', start) + 1), line);
        job_state.EndJob();
    }
}

TEST_F(StartingAJob, RendererIsRecognisedByItsClass) {
    const struct {
        bool has_renderer;
        Class_ID id;
        bool class1;
        bool class2;
    } cases[] = {
        {true, {0x52ad1c02, 0x112d2fbc}, true, false},
        {true, {0x58f67d6c, 0x4fcf3bc3}, false, true},
        {true, {0x52ad1c02, 0x4fcf3bc3}, false, false},
        {false, {0x52ad1c02, 0x112d2fbc}, false, false},
    };
    for (const auto& [has_renderer, id, class1, class2] : cases) {
        fake_max().has_renderer = has_renderer;
        fake_max().renderer_class = id;
        job_state.StartJob("a.max", "");
        EXPECT_EQ(job_state.rendererClass1, class1);
        EXPECT_EQ(job_state.rendererClass2, class2);
        job_state.EndJob();
    }
}

}  // namespace
}  // namespace corrivane::test
