#include "farm/daemon_session.h"

#include "maxscript/corrivane_interface.h"
#include "plugin/plugin_test.h"

#include <max/exceptions.h>
#include <max/maxscript/exceptions.h>
#include <system/message_window.h>
#include <windows.h>

#include <differences.h>

#include <future>

namespace corrivane::test {
namespace {

/// What came of one call of RunCorrivaneDaemon.
struct Session {
    bool result = false;
    bool left_open = false;  ///< the connection, by the plug-in
    Texts replies;
};

class DaemonSession : public PluginTest {
protected:
    /// Serves a worker that says all it has to say at once and then only listens.
    static Session run(const Texts& commands) {
        WirePeer worker;
        auto received = std::async(std::launch::async, [&] {
            worker.accept();
            worker.send("QuillaneStartup");
            for (const std::string& command : commands)
                worker.send(command);
            worker.finish_sending();
            return worker.receive_all();
        });
        Session session;
        session.result = quillane_util.RunCorrivaneDaemon(worker.port(), "the token");
        EXPECT_FALSE(daemon_running);
        session.left_open = session_socket.is_connected();
        // Ends what the plug-in sends, and loses nothing of it.
        if (session.left_open) ::shutdown(session_socket.connection_handle(), SD_SEND);
        const Texts messages = received.get();
        session_socket.close(true);
        session.replies = {messages.begin() + 2, messages.end()};  // token and greeting come first
        return session;
    }
};

TEST_F(DaemonSession, FailuresThatNoCommandAnswersEndItWithOneReply) {
    const std::tuple<std::function<void()>, std::string, std::string> cases[] = {
        {[] { throw std::bad_alloc(); }, "Exception: std::bad_alloc",
         "Exception caught in 3ds max: Out of memory.  There was not enough memory available to fulfill a "
         "memory request."},
        {[] { throw std::out_of_range("out there"); }, "Exception: out there",
         "Exception caught in 3ds max: out there"},
        {[] { throw MAXException("from max"); }, "MAXException: from max",
         "MAXException caught in 3ds max: from max"},
        {[] { throw RuntimeError("in a callback"); },
         "Maxscript exception caught: -- Runtime error: in a callback",
         "Maxscript exception:-- Runtime error: in a callback"},
        {[] { throw 17; }, "Unknown exception caught",
         "Unknown exception caught. (3ds max may have crashed)"},
    };
    for (const auto& [happens, logged_line, reply] : cases) {
        fake_max().inside["SetTime"] = happens;
        const Session session = run({"ExecuteScript,1,a.ms,setTime", "AlphaSplit"});
        EXPECT_TRUE(!session.result && session.left_open);
        EXPECT_THAT(session.replies, ElementsAre("STARTED", "ERROR: " + reply));
        EXPECT_TRUE(logged(logged_line + "\n")) << log();
    }
    EXPECT_FALSE(job_state.alphaSplit) << "a command was served after the end";
}

TEST_F(DaemonSession, FaultIsReportedAndTheNextSessionWorks) {
    const AbandonedFramesMayLeak amnesty;
    define("crash", []() -> Value* {
        job_state.frameUnderWay.rendering = true;
        return read_address(0x10), &ok;
    });
    const ValueLocalsFrame* chain = current_locals_frame();
    const Session session = run({"ExecuteStringScript,1,crash()"});
    EXPECT_FALSE(session.result);
    EXPECT_EQ(current_locals_frame(), chain) << "frames of the abandoned script are still scanned for values";
    EXPECT_FALSE(job_state.frameUnderWay.rendering) << "the next frame would be refused";
    EXPECT_THAT(session.replies,
                ElementsAre("STARTED", with_last_report("ERROR: SEH exception: SEH Exception trapped in 3ds "
                                                        "max: Access Violation")));
    EXPECT_THAT(log(), EndsWith("SEH exception caught\n"));
    for (int i = 0; i < 3; ++i) {
        const Session next = run({"RenderTask,1"});
        EXPECT_TRUE(next.result);
        EXPECT_THAT(next.replies, ElementsAre("ERROR: RenderTask: Called without being in a job."));
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
    const bool ended_well = quillane_util.RunCorrivaneDaemon(worker.port(), "token");
    dying.get();
    EXPECT_EQ(ended_well, !resets_are_told);
    EXPECT_EQ(logged("Exception: recv: socket error trying to receive data: WSAError code 10054\n"),
              resets_are_told);
}

std::promise<void>* message_came = nullptr;

LRESULT CALLBACK tell_of_message(HWND, UINT message, WPARAM, LPARAM) {
    if (message == WM_USER) message_came->set_value();
    return 0;
}

TEST_F(DaemonSession, WindowMessagesAreDispatchedWhileTheWorkerIsSilent) {
    std::promise<void> came;
    message_came = &came;
    const HWND window = create_message_window(tell_of_message);
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
