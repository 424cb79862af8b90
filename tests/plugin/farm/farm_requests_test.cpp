#include "plugin/plugin_test.h"
#include "quorvel/max3d/maxscript.h"
#include "support/message_pump.h"

#include <max/maxscript/exceptions.h>
#include <system/message_window.h>
#include <windows.h>

#include <chrono>
#include <stdexcept>

namespace corrivane::test {
namespace {

using quorvel::win32::simple_socket;

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
    const struct {
        std::string reply;
        const char* value;  ///< null: there is none
    } cases[] = {
        {"SUCCESS: ", ""},       {"SUCCESS:  a ", " a "},  {"SUCCESS: SUCCESS: ", "SUCCESS: "},
        {"SUCCESS:", nullptr},   {"SUCCESS", nullptr},     {"SUCCESS x", nullptr},
        {"success: x", nullptr}, {" SUCCESS: x", nullptr}, {"CONTINUE", nullptr},
    };
    Link link;
    for (const auto& [reply, value] : cases) {
        link.worker.send(reply);
        const auto ask = [&] { return job_state.GetJobInfoEntry("k", link.socket); };
        EXPECT_EQ(message_of([&] { EXPECT_EQ(ask(), value == nullptr ? "" : value) << reply; }),
                  value != nullptr ? "no exception" : "Key k doesn't exist");
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
    const struct {
        float percent;
        const char* text;
    } numbers[] = {{100, "100"},    {0.5F, "0.5"},    {12.5F, "12.5"}, {100.0F / 3, "33.33333"}, {-1, "-1"},
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
    const Request& asking = requests[7];
    const std::string error = script_error(asking, link.socket);
    EXPECT_TRUE(error.starts_with("-- Runtime error: Error in GetAuxFilename: ")) << error;
    EXPECT_FALSE(link.socket.is_connected());
}

TEST_F(FarmRequests, ReplyIsAwaitedForASecond) {
    Link link;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(script_error(requests[3], link.socket),
              "-- Runtime error: Error in GetJobInfoEntry: simple_socket: Timed out waiting for header "
              "packet to arrive.");
    const auto waited = std::chrono::steady_clock::now() - start;
    EXPECT_GE(waited, std::chrono::milliseconds(1000));
    EXPECT_LT(waited, std::chrono::milliseconds(8000));
}

int messages_seen = 0;

TEST_F(FarmRequests, WindowMessagesAreDispatchedBeforeEveryRequestButTheScriptsLogLine) {
    const HWND window =
        create_message_window([](HWND, UINT, WPARAM, LPARAM) -> LRESULT { return ++messages_seen; });
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

}  // namespace
}  // namespace corrivane::test
