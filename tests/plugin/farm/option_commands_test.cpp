#include "plugin/plugin_test.h"

namespace corrivane::test {
namespace {

using testing::ElementsAreArray;
using testing::IsEmpty;

class OptionCommands : public PluginTest {
protected:
    OptionCommands() {
        fake_max().width = 640;
        fake_max().height = 480;
        job_state.StartJob("C:\\a.max", "");
    }

    Texts run(const std::string& line) {
        job_state.ProcessCommand(line, m_link.socket);
        return m_link.sent();
    }
    /// What a command replies besides "ERROR: " and its name; "" when it says nothing.
    std::string error_of(const std::string& line) {
        const Texts replies = run(line);
        if (replies.empty()) return "";
        const std::string start = "ERROR: " + line.substr(0, line.find(',')) + ": ";
        return replies[0].starts_with(start) ? replies[0].substr(start.size())
                                             : "not an error: " + replies[0];
    }

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
        {"UseJpegOutput,C:\\\\previews", &JobState::useJpegOutput, true},
        {"UseJpegOutput", &JobState::useJpegOutput, false},
        {"OutputImageFilename,\"C:\\\\out\\\\a, b.png\"", &JobState::useOutputImageFilename, true},
        {"OutputImageFilename,a,b", &JobState::useOutputImageFilename, false},
    };
    for (const auto& [line, field, value] : cases) {
        EXPECT_EQ(job_state.*field, !value) << line;
        EXPECT_THAT(run(line), IsEmpty()) << line;
        EXPECT_EQ(job_state.*field, value) << line;
    }
    EXPECT_FALSE(job_state.regionRendering || job_state.failOnBlackFrames);
    EXPECT_EQ(job_state.jpegOutputPath, "C:\\previews");
    EXPECT_EQ(job_state.outputImageFilename, "C:\\out\\a, b.png");
    EXPECT_TRUE(logged("\nUseJpegOutput: requires 1 parameters, got 0, setting to false\n"));
    EXPECT_TRUE(
        logged("\nSetting output image filename\nOutputImageFilename: requires 1 parameters, got 2, setting "
               "to false\n"));
}

TEST_F(OptionCommands, FrameNumberBase) {
    const struct {
        std::string parameters;
        std::string error;
        int base;
    } cases[] = {
        {",1000", "", 1000},
        {",-1", "", -1},
        {",+12", "", 12},
        {",12 ", "Parameter 1, \"12 \", is not a valid value for frame number base.", 12},
        {",2147483648", "Parameter 1, \"2147483648\", is not a valid value for frame number base.", 12},
        {",", "Parameter 1, \"\", is not a valid value for frame number base.", 12},
        {"", "Expected 1 parameter, got 0", 12},
        {",1,2", "Expected 1 parameter, got 2", 12},
    };
    for (const auto& [parameters, error, base] : cases) {
        EXPECT_EQ(error_of("FrameNumberBase" + parameters), error) << parameters;
        EXPECT_EQ(job_state.frameNumberBase, base) << parameters;
    }
}

TEST_F(OptionCommands, RegionIsGrownByItsPaddingAndClippedToTheImageAsFarAsItParses) {
    constexpr int most = 2'147'483'647;
    const struct {
        std::string parameters;
        std::vector<int> expected;  ///< padding, rectangle, overflows
        std::string error = {};
        bool on = true;
    } cases[] = {
        {"1,2,3,4", {0, 0, 0, 0, 0, 0, 0, 0, 0}, "Expected 5 parameters, got 4", false},
        {"x,1,2,3,4", {0, 0, 0, 0, 0, 0, 0, 0, 0}, "Parameter 1, \"x\", is not a valid value for Padding."},
        {"5,a,0,10,10", {5, 0, 0, 0, 0, 0, 0, 0, 0}, "Parameter 2, \"a\", is not a valid value for Left."},
        {"5,1,,10,10", {5, 0, 0, 0, 0, 4, 0, 0, 0}, "Parameter 3, \"\", is not a valid value for Top."},
        {"5,9,9, 1,9", {5, 4, 4, 0, 0, 0, 0, 0, 0}, "Parameter 4, \" 1\", is not a valid value for Right."},
        {"5,9,9,1,1e", {5, 4, 4, 6, 0, 0, 0, 0, 0}, "Parameter 5, \"1e\", is not a valid value for Bottom."},
        {"0,100,50,300,200", {0, 100, 50, 300, 200, 0, 0, 0, 0}},
        {"10,0,0,100,100", {10, 0, 0, 110, 110, 10, 10, 0, 0}},
        {"10,600,400,640,480", {10, 590, 390, 640, 480, 0, 0, 10, 10}},
        {"2147483647,-2147483648,0,2147483647,480", {most, 0, 0, 640, 480, most, most, most, most}},
    };
    JobState& job = job_state;
    for (const auto& [parameters, expected, error, on] : cases) {
        // The image's size is known before the first job too.
        job.coreInterface = nullptr;
        job.regionLeftOverflow = job.regionTopOverflow = 0;
        job.regionRightOverflow = job.regionBottomOverflow = 0;
        EXPECT_EQ(error_of("RegionRendering," + parameters), error) << parameters;
        EXPECT_THAT((std::vector{job.regionPadding, job.regionLeft, job.regionTop, job.regionRight,
                                 job.regionBottom, job.regionLeftOverflow, job.regionTopOverflow,
                                 job.regionRightOverflow, job.regionBottomOverflow}),
                    ElementsAreArray(expected))
            << parameters;
        EXPECT_EQ(job.regionRendering, on);
    }
}

TEST_F(OptionCommands, BlackFrameCheckIsClampedAndSwitchedOffByWhatDoesNotParse) {
    const std::string bad_percentage = "FailOnBlackFrames: Parameter 1, \"x\", is not a valid percentage.\n";
    const std::string bad_threshold = "FailOnBlackFrames: Parameter 2, \"y\", is not a valid threshold.\n";
    const struct {
        std::string parameters;
        bool on;
        int percentage;
        float threshold;
        std::string log_end;
    } cases[] = {
        {"40,0.5", true, 40, 0.5F, "\n"},
        {"150,2.5", true, 100, 1, "\n"},
        {"-3,-0.5", true, 0, 0, "\n"},
        {"x,0.25", false, 0, 0.25F, bad_percentage},
        {"7,y", false, 7, 0.25F, bad_threshold},
        {"8,1e-1", true, 8, 0.1F, "\n"},
        {"9,nan", false, 9, 0.1F, "FailOnBlackFrames: Parameter 2, \"nan\", is not a valid threshold.\n"},
        {"1", false, 9, 0.1F, "FailOnBlackFrames: requires 2 parameters, got 1, setting to false\n"},
    };
    for (const auto& [parameters, on, percentage, threshold, log_end] : cases) {
        EXPECT_THAT(run("FailOnBlackFrames," + parameters), IsEmpty()) << parameters;
        EXPECT_EQ(job_state.failOnBlackFrames, on) << parameters;
        EXPECT_EQ(job_state.blackFramePercentage, percentage) << parameters;
        EXPECT_EQ(job_state.blackFrameThreshold, threshold) << parameters;
        EXPECT_THAT(log(), testing::EndsWith("\n" + log_end));
    }
}

}  // namespace
}  // namespace corrivane::test
