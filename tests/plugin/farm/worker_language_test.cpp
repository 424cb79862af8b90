// What the worker tells the plug-in, and what the plug-in asks the worker.
#include "plugin/plugin_test.h"
#include "quorvel/max3d/maxscript.h"
#include "support/message_pump.h"

#include <max/maxscript/exceptions.h>
#include <system/message_window.h>
#include <windows.h>

namespace corrivane::test {
namespace {

using quorvel::win32::simple_socket;

using testing::ElementsAreArray;
using FarmRequests = PluginTest;

/// An operation of the job state and its name.
const struct Request {
    const char* name;
    std::function<void(simple_socket&)> run;
} requests[] = {
    {"SetTitle", [](auto& socket) { job_state.SetTitle("title", socket); }},
    {"LogMessage", [](auto& socket) { job_state.LogMessage("message", socket); }},
    {"SetProgress", [](auto& socket) { job_state.SetProgress(50, socket); }},
    {"GetJobInfoEntry", [](auto& socket) { job_state.GetJobInfoEntry("k", socket); }},
    {"GetSubmitInfoEntry", [](auto& socket) { job_state.GetSubmitInfoEntry("k", socket); }},
    {"GetSubmitInfoEntryElementCount",
     [](auto& socket) { job_state.GetSubmitInfoEntryElementCount("k", socket); }},
    {"GetSubmitInfoEntryElement", [](auto& socket) { job_state.GetSubmitInfoEntryElement(2, "k", socket); }},
    {"GetAuxFilename", [](auto& socket) { job_state.GetAuxFilename(-1, socket); }},
};

std::string script_error(const Request& request, simple_socket& socket) {
    try {
        request.run(socket);
        return "no error";
    } catch (RuntimeError& error) {
        return quorvel::max3d::maxscript_exception_text(error);
    }
}

TEST_F(FarmRequests, ValueIsWhatFollowsTheWordAndOtherRepliesMeanThatThereIsNone) {
    // Null stands for no value.
    const std::pair<const char*, const char*> cases[] = {
        {"SUCCESS: ", ""},       {"SUCCESS:  a ", " a "},  {"SUCCESS: SUCCESS: ", "SUCCESS: "},
        {"SUCCESS:", nullptr},   {"SUCCESS", nullptr},     {"SUCCESS x", nullptr},
        {"success: x", nullptr}, {" SUCCESS: x", nullptr}, {"CONTINUE", nullptr},
    };
    Link link;
    for (const auto& [reply, value] : cases) {
        link.worker.send(reply);
        std::string answer;
        EXPECT_EQ(message_of([&] { answer = job_state.GetJobInfoEntry("k", link.socket); }),
                  value != nullptr ? "no exception" : "Key k doesn't exist")
            << reply;
        EXPECT_EQ(answer, value == nullptr ? "" : value) << reply;
    }
}

TEST_F(FarmRequests, CountMustBeAWholeNumber) {
    Link link;
    for (const char* reply :
         {"SUCCESS: ", "SUCCESS: 3 ", "SUCCESS:  3", "SUCCESS: 3.0", "SUCCESS: 2147483648"}) {
        link.worker.send(reply);
        EXPECT_THROW(job_state.GetSubmitInfoEntryElementCount("k", link.socket), std::bad_cast) << reply;
    }
    link.worker.send("SUCCESS: +3");
    EXPECT_EQ(job_state.GetSubmitInfoEntryElementCount("k", link.socket), 3);
}

TEST_F(FarmRequests, ProgressHasSevenDigitsAndGoesOnOnOneWordOnly) {
    const std::pair<float, const char*> numbers[] = {
        {100, "100"},    {0.5F, "0.5"},    {12.5F, "12.5"}, {100.0F / 3, "33.33333"}, {-1, "-1"},
        {1e7F, "1e+07"}, {1e-5F, "1e-05"}, {0, "0"},        {1234567.0F, "1234567"}};
    Link link;
    for (const auto& [percent, text] : numbers) {
        link.worker.send("CONTINUE");
        EXPECT_TRUE(job_state.SetProgress(percent, link.socket));
        EXPECT_EQ(link.sent(), Texts{std::string("FUNCTION: PROGRESS ") + text});
    }
    for (const char* reply : {"CONTINUE ", "continue", "ABORT", "SUCCESS: CONTINUE"}) {
        link.worker.send(reply);
        EXPECT_FALSE(job_state.SetProgress(1, link.socket)) << reply;
    }
}

TEST_F(FarmRequests, SocketFailuresBecomeTheScriptsErrors) {
    simple_socket unconnected;
    for (const Request& request : requests)
        EXPECT_EQ(script_error(request, unconnected),
                  std::string("-- Runtime error: Error in ") + request.name +
                      ": simple_socket: send called while not connected.");
    Link link;
    link.worker.close();
    EXPECT_THAT(script_error(requests[7], link.socket),
                StartsWith("-- Runtime error: Error in GetAuxFilename: "));
    EXPECT_FALSE(link.socket.is_connected());
}

TEST_F(FarmRequests, ReplyIsAwaitedForASecond) {
    Link link;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_THAT(script_error(requests[3], link.socket), HasSubstr("Timed out waiting for header"));
    const auto waited = std::chrono::steady_clock::now() - start;
    EXPECT_GE(waited, std::chrono::milliseconds(1000));
    EXPECT_LT(waited, std::chrono::milliseconds(8000));
}

int messages_seen = 0;

LRESULT CALLBACK count_message(HWND, UINT, WPARAM, LPARAM) {
    return ++messages_seen;
}

TEST_F(FarmRequests, WindowMessagesAreDispatchedBeforeEveryRequestButTheScriptsLogLine) {
    const HWND window = create_message_window(count_message);
    for (const Request& request : requests) {
        Link link;
        link.worker.send("SUCCESS: 7");
        messages_seen = 0;
        for (int i = 0; i < 3; ++i)
            PostMessageA(window, WM_USER, 0, 0);
        request.run(link.socket);
        EXPECT_EQ(messages_seen, &request == &requests[1] ? 0 : 3) << request.name;
        pump_messages();
    }
    destroy_message_window(window);
}

class OptionCommands : public PluginTest {
protected:
    OptionCommands() {
        fake_max().width = 640;
        fake_max().height = 480;
        job_state.StartJob("C:\\a.max", "");
    }

    /// What a command replies besides "ERROR: " and its name; "" when it says nothing.
    std::string error_of(const std::string& line) {
        job_state.ProcessCommand(line, m_link.socket);
        const Texts replies = m_link.sent();
        if (replies.empty()) return "";
        EXPECT_THAT(replies, ElementsAre(StartsWith("ERROR: " + line.substr(0, line.find(',')) + ": ")));
        return replies[0].substr(replies[0].find(": ", 7) + 2);
    }

    Link m_link;
};

TEST_F(OptionCommands, SwitchesSetTheirFieldAloneAndIgnoreParameters) {
    const std::tuple<const char*, bool JobState::*, bool> cases[] = {
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
        EXPECT_EQ(error_of(line), "");
        EXPECT_EQ(job_state.*field, value) << line;
    }
    EXPECT_FALSE(job_state.regionRendering || job_state.failOnBlackFrames);
    EXPECT_EQ(job_state.jpegOutputPath, "C:\\previews");
    EXPECT_EQ(job_state.outputImageFilename, "C:\\out\\a, b.png");
    EXPECT_TRUE(logged("\nUseJpegOutput: requires 1 parameters, got 0, setting to false\n"));
    EXPECT_TRUE(logged("\nOutputImageFilename: requires 1 parameters, got 2, setting to false\n"));
}

TEST_F(OptionCommands, FrameNumberBase) {
    const std::string bad = " is not a valid value for frame number base.";
    const std::tuple<std::string, std::string, int> cases[] = {
        {",1000", "", 1000},
        {",-1", "", -1},
        {",+12", "", 12},
        {",12 ", "Parameter 1, \"12 \"," + bad, 12},
        {",2147483648", "Parameter 1, \"2147483648\"," + bad, 12},
        {"", "Expected 1 parameter, got 0", 12},
        {",1,2", "Expected 1 parameter, got 2", 12}};
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
        job.coreInterface = nullptr;  // the image's size is known before the first job too
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
    const std::string bad = "FailOnBlackFrames: Parameter ";
    const std::tuple<std::string, bool, int, float, std::string> cases[] = {
        {"40,0.5", true, 40, 0.5F, "\n"},
        {"150,2.5", true, 100, 1, "\n"},
        {"-3,-0.5", true, 0, 0, "\n"},
        {"x,0.25", false, 0, 0.25F, bad + "1, \"x\", is not a valid percentage.\n"},
        {"7,y", false, 7, 0.25F, bad + "2, \"y\", is not a valid threshold.\n"},
        {"8,1e-1", true, 8, 0.1F, "\n"},
        {"9,nan", false, 9, 0.1F, bad + "2, \"nan\", is not a valid threshold.\n"},
        {"1", false, 9, 0.1F, "FailOnBlackFrames: requires 2 parameters, got 1, setting to false\n"},
    };
    for (const auto& [parameters, on, percentage, threshold, log_end] : cases) {
        EXPECT_EQ(error_of("FailOnBlackFrames," + parameters), "");
        EXPECT_EQ(job_state.failOnBlackFrames, on) << parameters;
        EXPECT_EQ(job_state.blackFramePercentage, percentage) << parameters;
        EXPECT_EQ(job_state.blackFrameThreshold, threshold) << parameters;
        EXPECT_THAT(log(), EndsWith("\n" + log_end));
    }
}

}  // namespace
}  // namespace corrivane::test
