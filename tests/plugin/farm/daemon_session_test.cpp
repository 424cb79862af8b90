#include "farm/daemon_session.h"

#include "fakes/fake_max.h"
#include "fakes/fake_scripts.h"
#include "maxscript/corrivane_interface.h"
#include "plugin/plugin_test.h"
#include "support/provoked_fault.h"

#include <max/exceptions.h>
#include <system/message_window.h>
#include <windows.h>

#include <chrono>
#include <functional>
#include <future>
#include <new>
#include <regex>
#include <stdexcept>

namespace corrivane::test {
namespace {

/// What came of one call of RunCorrivaneDaemon.
struct Session {
    bool result = false;
    std::vector<std::string> received;  ///< by the worker: token, greeting, replies
    std::vector<std::string> replies() const { return {received.begin() + 2, received.end()}; }
};

class DaemonSession : public PluginTest {
protected:
    /// Serves a worker that says all it has to say at once and then only listens.
    static Session run(const std::vector<std::string>& messages) {
        WirePeer worker;
        auto received = std::async(std::launch::async, [&] {
            worker.accept();
            for (const std::string& message : messages)
                worker.send(message);
            worker.finish_sending();
            return worker.receive_all();
        });
        Session session;
        session.result = quillane_util.RunCorrivaneDaemon(worker.port(), "the token");
        EXPECT_FALSE(daemon_running);
        // The plug-in never closes the connection itself; this ends what it sends, and loses nothing.
        if (session_socket.is_connected()) ::shutdown(session_socket.connection_handle(), SD_SEND);
        session.received = received.get();
        session_socket.close(true);
        return session;
    }

    /// A session after its handshake.
    static Session run_commands(std::vector<std::string> commands) {
        commands.insert(commands.begin(), "QuillaneStartup");
        return run(commands);
    }
};

constexpr const char* greeting =
    "Corrivane 2\\.7\\.29981 [A-Z][a-z]{2} [ \\d]\\d \\d{4} \\d\\d:\\d\\d:\\d\\d R";

TEST_F(DaemonSession, HandshakeServesUntilTheWorkerCloses) {
    const Session session = run_commands({});
    EXPECT_TRUE(session.result);
    ASSERT_EQ(session.received.size(), 2U);
    EXPECT_EQ(session.received[0], "the token");
    EXPECT_TRUE(std::regex_match(session.received[1], std::regex(greeting))) << session.received[1];
    EXPECT_EQ(log(),
              "Thread: " + std::to_string(GetCurrentThreadId()) + "\nrunning daemon...\nReturning TRUE\n");
    EXPECT_EQ(make_build_stamp("Oct 29 2007", "07:16:22"), "Oct 29 2007 07:16:22 R");
}

TEST_F(DaemonSession, OtherHandshakeWordsAreAnsweredTwice) {
    const Session session = run({"QuillaneStartup "});
    EXPECT_FALSE(session.result);
    ASSERT_EQ(session.received.size(), 3U);
    EXPECT_TRUE(std::regex_match(
        session.received[1],
        std::regex(std::string(greeting) + "   Incompatible plugin versions detected, exiting\\.")));
    EXPECT_EQ(session.received[2],
              "ERROR: Exception caught in 3ds max: Incorrect handshake with Quillane plugin.");
    EXPECT_TRUE(logged("Exception: Incorrect handshake with Quillane plugin.\n"));
}

TEST_F(DaemonSession, MissingHandshakeWordIsAnsweredAfterASecond) {
    WirePeer worker;
    EXPECT_FALSE(quillane_util.RunCorrivaneDaemon(worker.port(), "token"));
    worker.accept();
    EXPECT_EQ(worker.receive(), "token");
    EXPECT_EQ(worker.receive(),
              "ERROR: Exception caught in 3ds max: simple_socket: Timed out waiting for header packet "
              "to arrive.");
    // The connection stays open; the next session fails at its first step, and tells so over it.
    EXPECT_FALSE(quillane_util.RunCorrivaneDaemon(worker.port(), "token"));
    EXPECT_EQ(worker.receive(),
              "ERROR: Exception caught in 3ds max: simple_socket::connect: Already connected.");
}

TEST_F(DaemonSession, RefusedConnectionIsLoggedAndNothingIsSent) {
    WirePeer worker;
    worker.stop_listening();
    EXPECT_FALSE(quillane_util.RunCorrivaneDaemon(worker.port(), "token"));
    EXPECT_TRUE(
        logged("Exception: connect: Failed to connect to server at port " + std::to_string(worker.port())));
    EXPECT_FALSE(daemon_running);
}

TEST_F(DaemonSession, SecondSessionWhileOneRunsIsRefused) {
    bool refused = false;
    fake_scripts().expressions["again"] = [&] {
        EXPECT_TRUE(daemon_running);
        refused = !quillane_util.RunCorrivaneDaemon(1, "token");
        return boolean(refused);
    };
    fake_scripts().files["C:\\a.ms"] = "again";
    const std::string text = "RunCorrivaneDaemon() was executed while the daemon is already running.";
    EXPECT_EQ(run_commands({"ExecuteScript,0,C:\\\\a.ms", "CONTINUE"}).replies(),
              (std::vector<std::string>{"STARTED", "SUCCESS"}));
    EXPECT_TRUE(refused);
    EXPECT_EQ(fake_scripts().listener, text);
    EXPECT_TRUE(logged(text + "\n"));
}

TEST_F(DaemonSession, CommandLinesAreSplitLoggedAndDispatchedByExactName) {
    const struct {
        std::string line;
        std::string unexpected;  ///< the name in the error reply; "-" when there is none
        std::string fields;      ///< as logged
    } cases[] = {
        {"Nothing,a,b", "Nothing", "Nothing\na\nb\n"},
        {"renderTask,1", "renderTask", "renderTask\n1\n"},
        {" RenderTask,1", " RenderTask", " RenderTask\n1\n"},
        {"a\\\\b,\"c, \\\"d\\\"\",\\,,", "a\\b", "a\\b\nc, \"d\"\n,\n\n"},
        {"line\\nfeed", "line\nfeed", "line\nfeed\n"},
        {"", "", ""},
        {"CONTINUE", "-", "CONTINUE\n"},
        {"CONTINUE,1", "-", "CONTINUE\n1\n"},
        {"AlphaSplit,extra", "-", "AlphaSplit\nextra\n"},
    };
    std::vector<std::string> lines;
    std::vector<std::string> replies;
    std::string logged_lines;
    for (const auto& [line, unexpected, fields] : cases) {
        lines.push_back(line);
        if (unexpected != "-")
            replies.push_back("ERROR: Unexpected command \"" + unexpected + "\" received.");
        logged_lines += "\nGot command: " + line + "\n\nCommand: " + line + "\n" + fields + "\n";
        if (fields.starts_with("CONTINUE")) logged_lines += "Warning: ignoring CONTINUE statement\n";
    }
    const Session session = run_commands(lines);
    EXPECT_TRUE(session.result);
    EXPECT_EQ(session.replies(), replies);
    EXPECT_NE(log().find("running daemon...\n" + logged_lines + "Returning TRUE\n"), std::string::npos)
        << log();
    EXPECT_TRUE(job_state.alphaSplit);
}

TEST_F(DaemonSession, FailuresThatNoCommandAnswersEndItWithOneReply) {
    const struct {
        const char* name;
        std::function<void()> inside_script;
        std::string logged;
        std::string reply;
    } cases[] = {
        {"memory", [] { throw std::bad_alloc(); }, "Exception: std::bad_alloc",
         "Exception caught in 3ds max: Out of memory.  There was not enough memory available to fulfill a "
         "memory "
         "request."},
        {"standard", [] { throw std::out_of_range("out there"); }, "Exception: out there",
         "Exception caught in 3ds max: out there"},
        {"max", [] { throw MAXException("from max"); }, "MAXException: from max",
         "MAXException caught in 3ds max: from max"},
        {"other", [] { throw 17; }, "Unknown exception caught",
         "Unknown exception caught. (3ds max may have crashed)"},
    };
    for (const auto& [name, happens, logged_line, reply] : cases) {
        fake_scripts().expressions["fail"] = [&happens = happens]() -> Value* { return happens(), nullptr; };
        const Session session = run_commands({"ExecuteStringScript,1,fail", "AlphaSplit"});
        EXPECT_FALSE(session.result) << name;
        EXPECT_EQ(session.replies(), (std::vector<std::string>{"STARTED", "ERROR: " + reply})) << name;
        EXPECT_TRUE(logged(logged_line + "\n")) << name;
    }
    EXPECT_FALSE(job_state.alphaSplit) << "a command was served after the end";

    // A MAXScript error that is no script's own comes from 3ds Max itself, here at the start of the frame.
    fake_max().inside["SetTime"] = [] { throw RuntimeError("in a callback"); };
    const Session session = run_commands({"StartJob,C:\\\\a.max,", "RenderTask,1"});
    ASSERT_EQ(session.replies().size(), 3U);
    EXPECT_EQ(session.replies().back(), "ERROR: Maxscript exception:-- Runtime error: in a callback");
    EXPECT_TRUE(logged("Maxscript exception caught: -- Runtime error: in a callback\n"));
}

TEST_F(DaemonSession, MalformedLinesEndIt) {
    const struct {
        std::string line;
        std::string error;
    } cases[] = {
        {"StartJob,C:\\scenes\\a.max,", "unknown escape sequence"},
        {"RenderTask,1\\", "cannot end with escape"},
    };
    for (const auto& [line, error] : cases) {
        const Session session = run_commands({line});
        EXPECT_FALSE(session.result);
        EXPECT_EQ(session.replies(),
                  std::vector<std::string>{"ERROR: Exception caught in 3ds max: " + error});
    }
}

TEST_F(DaemonSession, FaultIsReportedAndTheNextSessionWorks) {
    const AbandonedFramesMayLeak amnesty;
    fake_scripts().expressions["crash"] = []() -> Value* {
        job_state.frameUnderWay.rendering = true;
        return read_address(0x10), nullptr;
    };
    const ValueLocalsFrame* chain = current_locals_frame();
    const Session session = run_commands({"ExecuteStringScript,1,crash"});
    EXPECT_FALSE(session.result);
    EXPECT_EQ(current_locals_frame(), chain) << "frames of the abandoned script are still scanned for values";
    EXPECT_FALSE(job_state.frameUnderWay.rendering) << "the next frame would be refused";
    ASSERT_EQ(session.replies().size(), 2U);
    const std::string reply = session.replies()[1];
    EXPECT_TRUE(reply.starts_with(
        "ERROR: SEH exception: SEH Exception trapped in 3ds max: Access Violation\nProcess:  "))
        << reply;
    EXPECT_NE(reply.find("\nException Code:  C0000005\nRead Address:  00000010\n"), std::string::npos)
        << reply;
    EXPECT_TRUE(reply.ends_with(job_state.GetLastExceptionReport()));
    EXPECT_TRUE(logged("SEH exception caught\n"));
    EXPECT_FALSE(logged("Returning TRUE"));

    for (int i = 0; i < 3; ++i) {
        const Session next = run_commands({"RenderTask,1"});
        EXPECT_TRUE(next.result);
        EXPECT_EQ(next.replies(),
                  std::vector<std::string>{"ERROR: RenderTask: Called without being in a job."});
    }
}

TEST_F(DaemonSession, ConnectionThatDiesEndsItWithoutAReply) {
    WirePeer worker;
    auto dying = std::async(std::launch::async, [&] {
        worker.accept();
        worker.receive();
        worker.send("QuillaneStartup");
        worker.receive();
        worker.reset();
    });
    EXPECT_FALSE(quillane_util.RunCorrivaneDaemon(worker.port(), "token"));
    dying.get();
    EXPECT_TRUE(logged("Exception: recv: socket error trying to receive data: WSAError code 10054\n"));
}

std::promise<void>* message_came = nullptr;

TEST_F(DaemonSession, WindowMessagesAreDispatchedWhileTheWorkerIsSilent) {
    std::promise<void> came;
    message_came = &came;
    const HWND window = create_message_window([](HWND, UINT, WPARAM, LPARAM) -> LRESULT {
        message_came->set_value();
        return 0;
    });
    PostMessageA(window, WM_USER, 0, 0);
    WirePeer worker;
    auto silent = std::async(std::launch::async, [&] {
        worker.accept();
        worker.receive();
        worker.send("QuillaneStartup");
        worker.receive();
        const auto seen = came.get_future().wait_for(std::chrono::seconds(20));
        worker.close();
        return seen == std::future_status::ready;
    });
    EXPECT_TRUE(quillane_util.RunCorrivaneDaemon(worker.port(), "token"));
    EXPECT_TRUE(silent.get());
    destroy_message_window(window);
}

}  // namespace
}  // namespace corrivane::test
