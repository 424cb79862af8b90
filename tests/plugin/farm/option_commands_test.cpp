#include "fakes/fake_max.h"
#include "plugin/plugin_test.h"

namespace corrivane::test {
namespace {

class OptionCommands : public PluginTest {
protected:
    OptionCommands() {
        fake_max().width = 640;
        fake_max().height = 480;
        job_state.StartJob("C:\\a.max", "");
    }

    std::vector<std::string> run(const std::string& line) { return run_command(m_link, line); }

    Link m_link;
};

TEST_F(OptionCommands, SwitchesSetTheirFieldAloneAndIgnoreParameters) {
    const struct {
        const char* line;
        bool JobState::*field;
        bool value;
    } cases[] = {
        {"RestartRendererMode", &JobState::restartRendererMode, true},
        {"HideFrameBuffer", &JobState::showFrameBuffer, false},
        {"IgnoreMissingExternalFiles", &JobState::ignoreMissingExternalFiles, true},
        {"IgnoreMissingUVWs", &JobState::ignoreMissingUVWs, true},
        {"IgnoreMissingDLLs,1", &JobState::ignoreMissingDLLs, true},
        {"IgnoreMissingXREFs", &JobState::ignoreMissingXREFs, true},
        {"RemovePadding", &JobState::removePadding, true},
        {"AlphaSplit,anything,at all", &JobState::alphaSplit, true},
    };
    for (const auto& [line, field, value] : cases) {
        EXPECT_EQ(job_state.*field, !value) << line;
        EXPECT_EQ(run(line), std::vector<std::string>{}) << line;
        EXPECT_EQ(job_state.*field, value) << line;
    }
    EXPECT_FALSE(job_state.regionRendering || job_state.useJpegOutput || job_state.failOnBlackFrames);
}

TEST_F(OptionCommands, FrameNumberBase) {
    const struct {
        std::string line;
        std::string error;
        int base;
    } cases[] = {
        {"FrameNumberBase,1000", "", 1000},
        {"FrameNumberBase,-1", "", -1},
        {"FrameNumberBase,+12", "", 12},
        {"FrameNumberBase,12 ", "Parameter 1, \"12 \", is not a valid value for frame number base.", 12},
        {"FrameNumberBase,2147483648",
         "Parameter 1, \"2147483648\", is not a valid value for frame number base.", 12},
        {"FrameNumberBase,", "Parameter 1, \"\", is not a valid value for frame number base.", 12},
        {"FrameNumberBase", "Expected 1 parameter, got 0", 12},
        {"FrameNumberBase,1,2", "Expected 1 parameter, got 2", 12},
    };
    for (const auto& [line, error, base] : cases) {
        const std::vector<std::string> expected(error.empty() ? 0 : 1, "ERROR: FrameNumberBase: " + error);
        EXPECT_EQ(run(line), expected) << line;
        EXPECT_EQ(job_state.frameNumberBase, base) << line;
    }
}

/// Rectangle, padding and overflows, in the order of their fields.
using Region = std::vector<int>;

Region region() {
    const JobState& job = job_state;
    return {job.regionPadding,     job.regionLeft,          job.regionTop,
            job.regionRight,       job.regionBottom,        job.regionLeftOverflow,
            job.regionTopOverflow, job.regionRightOverflow, job.regionBottomOverflow};
}

TEST_F(OptionCommands, RegionIsGrownByItsPaddingAndClippedToTheImage) {
    constexpr int most = 2'147'483'647;
    const struct {
        std::string parameters;
        Region expected;
    } cases[] = {
        {"0,100,50,300,200", {0, 100, 50, 300, 200, 0, 0, 0, 0}},
        {"10,0,0,100,100", {10, 0, 0, 110, 110, 10, 10, 0, 0}},
        {"10,600,400,640,480", {10, 590, 390, 640, 480, 0, 0, 10, 10}},
        {"16,16,16,624,464", {16, 0, 0, 640, 480, 0, 0, 0, 0}},
        {"2147483647,-2147483648,0,2147483647,480", {most, 0, 0, 640, 480, most, most, most, most}},
    };
    for (const auto& [parameters, expected] : cases) {
        job_state.regionLeftOverflow = job_state.regionTopOverflow = 0;
        job_state.regionRightOverflow = job_state.regionBottomOverflow = 0;
        EXPECT_EQ(run("RegionRendering," + parameters), std::vector<std::string>{}) << parameters;
        EXPECT_EQ(region(), expected) << parameters;
        EXPECT_TRUE(job_state.regionRendering);
    }
}

TEST_F(OptionCommands, RegionThatDoesNotParseKeepsWhatCameBefore) {
    EXPECT_EQ(run("RegionRendering,1,2,3,4"),
              std::vector<std::string>{"ERROR: RegionRendering: Expected 5 parameters, got 4"});
    EXPECT_FALSE(job_state.regionRendering);
    const struct {
        const char* parameters;
        const char* error;
        Region expected;
    } cases[] = {
        {"x,1,2,3,4", "Parameter 1, \"x\", is not a valid value for Padding.", {0, 0, 0, 0, 0, 0, 0, 0, 0}},
        {"5,a,0,10,10", "Parameter 2, \"a\", is not a valid value for Left.", {5, 0, 0, 0, 0, 0, 0, 0, 0}},
        {"5,1,,10,10", "Parameter 3, \"\", is not a valid value for Top.", {5, 0, 0, 0, 0, 4, 0, 0, 0}},
        {"5,9,9, 10,10",
         "Parameter 4, \" 10\", is not a valid value for Right.",
         {5, 4, 4, 0, 0, 4, 0, 0, 0}},
        {"5,9,9,10,1e2",
         "Parameter 5, \"1e2\", is not a valid value for Bottom.",
         {5, 4, 4, 15, 0, 4, 0, 0, 0}},
    };
    for (const auto& [parameters, error, expected] : cases) {
        EXPECT_EQ(run(std::string("RegionRendering,") + parameters),
                  std::vector<std::string>{std::string("ERROR: RegionRendering: ") + error});
        EXPECT_EQ(region(), expected) << parameters;
        EXPECT_TRUE(job_state.regionRendering);
    }
}

TEST_F(OptionCommands, RegionBeforeTheFirstJobIsServed) {
    job_state.coreInterface = nullptr;
    EXPECT_EQ(run("RegionRendering,0,0,0,1000,10"), std::vector<std::string>{});
    EXPECT_EQ(job_state.regionRight, 640);
}

TEST_F(OptionCommands, JpegOutputAndFileNameAreSwitchedOffByAWrongCount) {
    EXPECT_EQ(run("UseJpegOutput,C:\\\\previews\\\\"), std::vector<std::string>{});
    EXPECT_TRUE(job_state.useJpegOutput);
    EXPECT_EQ(job_state.jpegOutputPath, "C:\\previews\\");
    EXPECT_EQ(run("UseJpegOutput"), std::vector<std::string>{});
    EXPECT_FALSE(job_state.useJpegOutput);
    EXPECT_TRUE(logged("UseJpegOutput: requires 1 parameters, got 0, setting to false\n"));

    EXPECT_EQ(run("OutputImageFilename,\"C:\\\\out\\\\a, b.png\""), std::vector<std::string>{});
    EXPECT_TRUE(job_state.useOutputImageFilename);
    EXPECT_EQ(job_state.outputImageFilename, "C:\\out\\a, b.png");
    EXPECT_TRUE(logged("\nSetting output image filename\nSaving output to C:\\out\\a, b.png\n"));
    EXPECT_EQ(run("OutputImageFilename,a,b"), std::vector<std::string>{});
    EXPECT_FALSE(job_state.useOutputImageFilename);
    EXPECT_TRUE(logged(
        "\nSetting output image filename\nOutputImageFilename: requires 1 parameters, got 2, setting to "
        "false\n"));
}

TEST_F(OptionCommands, BlackFrameCheckIsClampedAndSwitchedOffByWhatDoesNotParse) {
    const std::string bad_percentage = "FailOnBlackFrames: Parameter 1, \"x\", is not a valid percentage.\n";
    const std::string bad_threshold = "FailOnBlackFrames: Parameter 2, \"y\", is not a valid threshold.\n";
    const struct {
        std::string line;
        bool on;
        int percentage;
        float threshold;
        std::string log_end;
    } cases[] = {
        {"FailOnBlackFrames,40,0.5", true, 40, 0.5F, "\n"},
        {"FailOnBlackFrames,150,2.5", true, 100, 1, "\n"},
        {"FailOnBlackFrames,-3,-0.5", true, 0, 0, "\n"},
        {"FailOnBlackFrames,x,0.25", false, 0, 0.25F, bad_percentage},
        {"FailOnBlackFrames,7,y", false, 7, 0.25F, bad_threshold},
        {"FailOnBlackFrames,x,y", false, 7, 0.25F, bad_percentage + bad_threshold},
        {"FailOnBlackFrames,8,1e-1", true, 8, 0.1F, "\n"},
        {"FailOnBlackFrames,9,nan", false, 9, 0.1F,
         "FailOnBlackFrames: Parameter 2, \"nan\", is not a valid threshold.\n"},
        {"FailOnBlackFrames,1", false, 9, 0.1F,
         "FailOnBlackFrames: requires 2 parameters, got 1, setting to false\n"},
    };
    for (const auto& [line, on, percentage, threshold, log_end] : cases) {
        EXPECT_EQ(run(line), std::vector<std::string>{}) << line;
        EXPECT_EQ(job_state.failOnBlackFrames, on) << line;
        EXPECT_EQ(job_state.blackFramePercentage, percentage) << line;
        EXPECT_EQ(job_state.blackFrameThreshold, threshold) << line;
        EXPECT_TRUE(log().ends_with("\n" + log_end)) << log();
    }
}

}  // namespace
}  // namespace corrivane::test
