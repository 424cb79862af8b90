#include "worker/farm_session.h"

#include "support/wire_peer.h"
#include "worker/failures.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <thread>

namespace corrivane::worker {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;

constexpr const char* plugin_greeting = "Corrivane 2.7.29981 Oct 29 2007 07:16:22 R";
constexpr const char* failed = "ERROR: Failed to save file.";

/// The plug-in's end of the wire, which says and expects what a test tells it. A script sends nothing that
/// may come after the worker has hung up.
class Peer : public test::WirePeer {
public:
    explicit Peer(int port) { connect(port); }

    void expect(const std::string& message) { EXPECT_EQ(receive(), message); }
    /// The worker hangs up without another word.
    void expect_end() { EXPECT_THAT(receive_all(), testing::IsEmpty()); }
    void say(const std::vector<std::string>& messages) {
        for (const std::string& message : messages)
            send(message);
    }
    void greet(const std::string& greeting = plugin_greeting) {
        send("token");
        expect("QuillaneStartup");
        send(greeting);
    }
};

class SilentObserver : public SessionObserver {
    void on_title(std::string_view) override {}
    void on_progress(double) override {}
    void on_log(std::string_view) override {}
};

/// A session of the worker with a peer in a thread of its own.
class Farm {
public:
    explicit Farm(std::chrono::milliseconds work_limit = 10s)
        : session(connection, job, observer, stop, {10s, 10s, work_limit}) {
        job.scene = "scene.gltf";
        job.frames = {3};
    }
    ~Farm() {
        connection.close();
        if (m_peer_thread.joinable()) m_peer_thread.join();
    }
    Farm(const Farm&) = delete;
    Farm& operator=(const Farm&) = delete;

    void run_peer(std::function<void(Peer&)> script) {
        m_peer_thread = std::thread([this, script = std::move(script)] {
            try {
                Peer peer(connection.port());
                script(peer);
            } catch (const std::exception& error) {
                ADD_FAILURE() << "the peer failed: " << error.what();
            }
        });
    }

    /// Lets in a peer that greets, and then does what the script says.
    void open(std::function<void(Peer&)> script) {
        run_peer([script = std::move(script)](Peer& peer) {
            peer.greet();
            script(peer);
        });
        connection.accept("token", deadline_in(10s));
        EXPECT_EQ(session.handshake(), plugin_greeting);
    }

    Job job;
    StopRequest stop;
    HostConnection connection{stop};
    SilentObserver observer;
    FarmSession session;

private:
    std::thread m_peer_thread;
};

/// The text of the failure that the call throws.
template <typename Call>
std::string failure_of(Call call) {
    try {
        call();
    } catch (const HostFailure& failure) {
        return failure.what();
    }
    return "no failure";
}

TEST(FarmSession, ErrorsOfAFrameAreReadToTheLastReply) {
    const struct {
        std::vector<std::string> replies;
        bool hangs_up;  // after them
        std::string error;
    } cases[] = {
        {{"STARTED", failed}, false, "Failed to save file."},
        {{"STARTED", "ERROR: no memory", failed}, false, "no memory"},
        {{"STARTED", "ERROR: thrown", "ERROR: fault\nreport", failed}, false, "thrown\nfault\nreport"},
        {{"ERROR: RenderTask: Called outside."}, false, "RenderTask: Called outside."},
        {{"STARTED", "ERROR: SEH exception: fault\nreport"}, true, "SEH exception: fault\nreport"},
    };
    for (const auto& entry : cases) {
        Farm farm;
        farm.open([&](Peer& peer) {
            peer.expect("RenderTask,3");
            peer.say(entry.replies);
            if (entry.hangs_up) return peer.close();
            peer.expect("RenderTask,4");
            peer.say({"STARTED", "SUCCESS"});
        });
        const CommandResult result = farm.session.render(3);
        EXPECT_FALSE(result.success);
        EXPECT_EQ(result.error, entry.error);
        EXPECT_EQ(result.session_over, entry.hangs_up);
        if (!entry.hangs_up) {
            EXPECT_TRUE(farm.session.render(4).success) << entry.error;
        }
    }
}

TEST(FarmSession, ErrorsOfAScriptTellWhetherTheSessionGoesOn) {
    const struct {
        const char* error;
        bool session_over;
    } cases[] = {
        {"Script did not return success: false", false},
        {"Exception caught in 3ds max: MAXScriptException: -- Runtime error: no licence", true},
    };
    for (const auto& entry : cases) {
        Farm farm;
        farm.open([&](Peer& peer) {
            peer.expect("ExecuteScript,3,a.ms");
            peer.say({"STARTED", std::string("ERROR: ") + entry.error});
            if (entry.session_over) return peer.close();
            peer.expect_end();
        });
        const CommandResult result = farm.session.run_script("ExecuteScript,3,a.ms");
        EXPECT_EQ(result.error, entry.error);
        EXPECT_EQ(result.session_over, entry.session_over);
    }
}

TEST(FarmSession, ABrokenPeerFailsTheHostAndTheReasonIsNamed) {
    const auto framed = [](const std::string& message) { return Peer::frame(message); };
    const struct {
        std::string bytes;   // sent after STARTED
        std::string reason;  // part of the failure's text
    } cases[] = {
        {"", "closed the connection"},
        {Peer::length_field(100001), "packet size (given 100001)"},
        {std::string("\0\0", 2), "closed the connection"},
        {std::string("\0\0\0\5abc", 7), "closed the connection"},
        {framed("OK"), "no plug-in sends: \"OK\""},
        {framed("SUCCESSFUL"), "no plug-in sends: \"SUCCESSFUL\""},
        {framed("ERROR"), "no plug-in sends"},
        {framed("FUNCTION: FORMATDISK now\x1b[2J"), "no plug-in sends: \"FUNCTION: FORMATDISK now?[2J\""},
        {framed("STARTED"), "no plug-in sends: \"STARTED\""},
    };
    for (const auto& entry : cases) {
        Farm farm;
        farm.open([&](Peer& peer) {
            peer.expect("RenderTask,3");
            peer.send("STARTED");
            peer.send_bytes(entry.bytes);
            peer.close();
        });
        EXPECT_THAT(failure_of([&] { farm.session.render(3); }), HasSubstr(entry.reason));
    }
}

TEST(FarmSession, AHostWithoutEndToItsErrorsIsGivenUp) {
    Farm farm;
    farm.open([](Peer& peer) {
        peer.expect("EndJob");
        peer.say(std::vector<std::string>(9, "ERROR: again"));
        peer.expect_end();
    });
    EXPECT_THAT(failure_of([&] { farm.session.end_job(); }), HasSubstr("one error after another"));
}

TEST(FarmSession, RequestsAloneDontKeepAFrameAlive) {
    Farm farm(200ms);
    farm.open([](Peer& peer) {
        peer.expect("RenderTask,3");
        const auto keep_asking = [&peer] {
            for (peer.send("STARTED");;) {
                peer.send("FUNCTION: PROGRESS 1");
                peer.expect("CONTINUE");
            }
        };
        EXPECT_THROW(keep_asking(), std::runtime_error);  // the worker has hung up
    });
    EXPECT_THAT(failure_of([&] { farm.session.render(3); }), HasSubstr("did not answer in time"));
}

TEST(FarmSession, OnlyThePeerWithTheTokenIsLetIn) {
    const struct {
        const char* what;
        std::function<void(Peer&)> stranger;
    } cases[] = {
        {"another token", [](Peer& peer) { peer.send("guess"); }},
        {"too short a token", [](Peer& peer) { peer.send("toke"); }},
        {"a part of the token", [](Peer& peer) { peer.send_bytes(Peer::frame("token").substr(0, 6)); }},
        {"another protocol", [](Peer& peer) { peer.send_bytes("GET / HTTP/1.0\r\n\r\n"); }},
        {"no length", [](Peer& peer) { peer.send_bytes("\xff\xff\xff\xff"); }},
        {"nothing", [](Peer&) {}},
        {"nothing, and gone", [](Peer& peer) { peer.close(); }},
        {"nothing, and died", [](Peer& peer) { peer.reset(); }},
    };
    for (const auto& entry : cases) {
        SCOPED_TRACE(entry.what);
        Farm farm;
        farm.run_peer([&](Peer& peer) {
            entry.stranger(peer);
            Peer host(farm.connection.port());  // has to queue behind a stranger that stays
            for (const char c : Peer::frame("token"))
                host.send_bytes({&c, 1});
            const auto begin = Clock::now();
            host.expect("QuillaneStartup");
            EXPECT_LT(Clock::now() - begin, 1s) << "the plug-in would have given up";
            host.send(plugin_greeting);
            host.expect_end();
        });
        farm.connection.accept("token", deadline_in(10s));
        EXPECT_EQ(farm.session.handshake(), plugin_greeting);
    }
}

TEST(FarmSession, AStrangerAloneIsMentionedWhenTimeIsUp) {
    Farm farm;
    farm.run_peer([](Peer& peer) {
        peer.send("guess");
        peer.expect_end();
    });
    EXPECT_THAT(failure_of([&] { farm.connection.accept("token", deadline_in(2s)); }),
                HasSubstr("a peer without it was turned away"));
}

TEST(FarmSession, WrongGreetingsAreRefused) {
    for (const std::string greeting :
         {"Hello", "Corrivane 1   Incompatible plugin versions detected, exiting.", "ERROR: no"}) {
        Farm farm;
        farm.run_peer([&](Peer& peer) {
            peer.greet(greeting);
            peer.expect_end();
        });
        farm.connection.accept("token", deadline_in(10s));
        EXPECT_NE(failure_of([&] { farm.session.handshake(); }), "no failure") << greeting;
    }
}

TEST(FarmSession, AStopBeforeTheHostHasConnectedEndsTheWait) {
    Farm farm;
    std::thread user([&farm] { farm.stop.raise(); });
    EXPECT_THROW(farm.connection.accept("token", Deadline::max()), Stopped);
    user.join();
}

}  // namespace
}  // namespace corrivane::worker
