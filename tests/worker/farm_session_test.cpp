#include "worker/farm_session.h"

#include "worker/failures.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <thread>

namespace corrivane::worker {
namespace {

using namespace std::chrono_literals;
using quorvel::win32::simple_socket;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr const char* k_greeting = "Corrivane 2.7.29981 Oct 29 2007 07:16:22 R";
constexpr int k_patience_ms = 10000;

/// The plug-in's end of the wire, which says and expects what a test tells it.
class Peer {
public:
    explicit Peer(int port) { m_socket.connect("127.0.0.1", port); }

    void say(const std::string& message) { m_socket.send(message); }
    void say_raw(const std::string& bytes) { m_socket.send_raw(bytes); }
    std::string hear() { return m_socket.receive(k_patience_ms); }
    void expect(const std::string& message) { EXPECT_EQ(hear(), message); }
    /// The worker hangs up; what it has not read by then may make that a reset.
    void expect_end() {
        try {
            ADD_FAILURE() << "the worker still says: " << hear();
        } catch (const quorvel::win32::simple_socket_timeout_error&) {
            ADD_FAILURE() << "the worker does not hang up";
        } catch (const quorvel::win32::simple_socket_error&) {
        }
    }
    void hang_up() { m_socket.close(true); }

    void greet() {
        say("token");
        expect("QuillaneStartup");
        say(k_greeting);
    }

private:
    simple_socket m_socket;
};

class RecordingObserver : public SessionObserver {
public:
    void on_title(std::string_view title) override { events.push_back("title " + std::string(title)); }
    void on_progress(double percent) override {
        events.push_back("progress " + std::to_string(static_cast<int>(percent)));
        if (at_progress) at_progress();
    }
    void on_log(std::string_view text) override { events.push_back("log " + std::string(text)); }

    std::vector<std::string> events;
    std::function<void()> at_progress;
};

class FarmSessionTest : public testing::Test {
protected:
    FarmSessionTest() {
        job.scene = "scene.gltf";
        job.frames = {3};
    }

    ~FarmSessionTest() override {
        connection.close();
        if (m_peer_thread.joinable()) m_peer_thread.join();
    }

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
    FarmSession& open(std::function<void(Peer&)> script) {
        run_peer([script = std::move(script)](Peer& peer) {
            peer.greet();
            script(peer);
        });
        connection.accept("token", deadline_in(10s));
        EXPECT_EQ(session.handshake(), k_greeting);
        return session;
    }

    /// The text of the HostFailure that the call throws.
    template <typename Call>
    static std::string failure_of(Call call) {
        try {
            call();
        } catch (const HostFailure& failure) {
            return failure.what();
        }
        return "no failure";
    }

    Job job;
    StopRequest stop;
    HostConnection connection{stop};
    RecordingObserver observer;
    TimeLimits limits{10s, 10s, 10s};
    FarmSession session{connection, job, observer, stop, limits};

private:
    std::thread m_peer_thread;
};

TEST_F(FarmSessionTest, AJobFromStartToEnd) {
    job.options.ignore_missing.files = true;
    job.options.frame_base = 1000;
    job.pre_script = "pre.ms";
    job.job_info["Name"] = "Robot";
    open([](Peer& peer) {
        peer.expect("IgnoreMissingExternalFiles");
        peer.expect("StartJob,scene.gltf,");
        peer.say("SUCCESS [filename] \n[format] \n[size] 0x0\n[aspect] 1\n");
        peer.expect("FrameNumberBase,1000");
        EXPECT_THAT(peer.hear(), testing::StartsWith("ExecuteStringScript,3,"));
        peer.say("STARTED");
        peer.say("SUCCESS: x");
        peer.expect("ExecuteScript,3,pre.ms");
        peer.say("STARTED");
        peer.say("FUNCTION: STDOUT: hello\nworld");
        peer.say("FUNCTION: GETJOBINFOENTRY Name");
        peer.expect("SUCCESS: Robot");
        peer.say("FUNCTION: GETAUXFILE 0");
        EXPECT_THAT(peer.hear(), testing::StartsWith("ERROR: "));
        peer.say("SUCCESS");
        peer.expect("RenderTask,3");
        peer.say("STARTED");
        peer.say("FUNCTION: PROGRESS -1");
        peer.expect("CONTINUE");
        peer.say("FUNCTION: SETTITLE Rendering - 45.0%");
        peer.say("FUNCTION: PROGRESS 45");
        peer.expect("CONTINUE");
        peer.say("SUCCESS");
        EXPECT_THAT(peer.hear(), HasSubstr("QuillaneUtil.GetOutputFilename"));
        peer.say("STARTED");
        peer.say("SUCCESS: C:\\out\\a.png\nC:\\out\\A_a.png\n");
        peer.expect("EndJob");
        peer.say("SUCCESS");
        peer.expect_end();
    });
    session.start_job(make_job_commands(job));
    EXPECT_TRUE(session.render(3).success);
    EXPECT_THAT(*session.written_files(3), ElementsAre("C:\\out\\a.png", "C:\\out\\A_a.png"));
    EXPECT_TRUE(session.end_job().success);
    EXPECT_THAT(observer.events,
                ElementsAre("log hello\nworld", "progress -1", "title Rendering - 45.0%", "progress 45"));
}

struct ErrorCase {
    std::vector<std::string> replies;  // after which the peer hangs up, or waits for the end
    bool hangs_up;
    std::string error;
    bool session_over;
};

void PrintTo(const ErrorCase& error_case, std::ostream* out) {
    *out << error_case.error;
}

class FrameErrors : public FarmSessionTest, public testing::WithParamInterface<ErrorCase> {};

TEST_P(FrameErrors, AreReadToTheLastReply) {
    const ErrorCase& error_case = GetParam();
    open([&](Peer& peer) {
        peer.expect("RenderTask,3");
        for (const std::string& reply : error_case.replies)
            peer.say(reply);
        if (error_case.hangs_up) return peer.hang_up();
        peer.expect("RenderTask,4");
        peer.say("STARTED");
        peer.say("SUCCESS");
    });
    const CommandResult result = session.render(3);
    EXPECT_FALSE(result.success);
    EXPECT_EQ(result.error, error_case.error);
    EXPECT_EQ(result.session_over, error_case.session_over);
    if (!error_case.hangs_up) {
        EXPECT_TRUE(session.render(4).success);
    }
}

const std::string k_failed = "ERROR: Failed to save file.";

INSTANTIATE_TEST_SUITE_P(
    , FrameErrors,
    testing::Values(
        ErrorCase{{"STARTED", k_failed}, false, "Failed to save file.", false},
        ErrorCase{{"STARTED", "ERROR: no memory", k_failed}, false, "no memory", false},
        ErrorCase{{"STARTED", "ERROR: thrown", "ERROR: fault\nreport\nends", k_failed},
                  false,
                  "thrown\nfault\nreport\nends",
                  false},
        ErrorCase{{"ERROR: RenderTask: Called without being in a job."},
                  false,
                  "RenderTask: Called without being in a job.",
                  false},
        ErrorCase{{"STARTED", "ERROR: Maxscript exception:bad"}, true, "Maxscript exception:bad", true},
        ErrorCase{
            {"STARTED", "ERROR: SEH exception: fault\nreport"}, true, "SEH exception: fault\nreport", true}));

TEST_F(FarmSessionTest, AStartThatIsRefusedFailsTheJob) {
    const struct {
        std::vector<std::string> start_replies;
        std::vector<std::string> option_replies;
        std::string error;
    } cases[] = {
        {{"ERROR: no scene", "SUCCESS [filename] \n"}, {}, "no scene"},
        {{"ERROR: thrown", "ERROR: fault\nreport", "SUCCESS [filename] \n"}, {}, "thrown\nfault\nreport"},
        {{"SUCCESS [filename] \n"},
         {"ERROR: Unexpected command \"AlphaSplit\" received."},
         "Unexpected command \"AlphaSplit\" received."},
    };
    job.options.alpha_split = true;
    for (const auto& entry : cases) {
        HostConnection own_connection(stop);
        FarmSession own_session(own_connection, job, observer, stop, limits);
        std::thread peer_thread([&] {
            Peer peer(own_connection.port());
            peer.greet();
            peer.expect("StartJob,scene.gltf,");
            for (const std::string& reply : entry.start_replies)
                peer.say(reply);
            if (entry.option_replies.empty()) return peer.expect_end();
            peer.expect("AlphaSplit");
            for (const std::string& reply : entry.option_replies)
                peer.say(reply);
            EXPECT_THAT(peer.hear(), testing::StartsWith("ExecuteStringScript"));
            peer.expect_end();
        });
        own_connection.accept("token", deadline_in(10s));
        own_session.handshake();
        try {
            own_session.start_job(make_job_commands(job));
            ADD_FAILURE() << "the job started: " << entry.error;
        } catch (const JobFailure& failure) {
            EXPECT_EQ(failure.what(), entry.error);
        }
        own_connection.close();
        peer_thread.join();
    }
}

TEST_F(FarmSessionTest, WarningsAtTheEndDontStopTheEnd) {
    open([](Peer& peer) {
        peer.expect("EndJob");
        peer.say("ERROR: EndJob called when consistency check flag jobRunning was not set");
        peer.say("SUCCESS");
    });
    EXPECT_EQ(session.end_job().error, "EndJob called when consistency check flag jobRunning was not set");
}

struct BrokenCase {
    std::string bytes;   // sent after STARTED
    std::string reason;  // part of the failure's text
};

void PrintTo(const BrokenCase& broken_case, std::ostream* out) {
    *out << broken_case.reason;
}

class BrokenPeers : public FarmSessionTest, public testing::WithParamInterface<BrokenCase> {};

TEST_P(BrokenPeers, FailTheHostAndNameTheReason) {
    open([&](Peer& peer) {
        peer.expect("RenderTask,3");
        peer.say("STARTED");
        peer.say_raw(GetParam().bytes);
        peer.hang_up();
    });
    EXPECT_THAT(failure_of([&] { session.render(3); }), HasSubstr(GetParam().reason));
}

std::string framed(const std::string& message) {
    return std::string{0, 0, 0, static_cast<char>(message.size())} + message;
}

INSTANTIATE_TEST_SUITE_P(, BrokenPeers,
                         testing::Values(BrokenCase{"", "closed the connection"},
                                         BrokenCase{std::string("\0\1\x86\xa1", 4),
                                                    "packet size (given 100001)"},
                                         BrokenCase{"\xff\xff\xff\xff", "packet size (given 4294967295)"},
                                         BrokenCase{std::string("\0\0", 2), "closed the connection"},
                                         BrokenCase{std::string("\0\0\0\5abc", 7), "closed the connection"},
                                         BrokenCase{framed("OK"), "no plug-in sends: \"OK\""},
                                         BrokenCase{framed("SUCCESSFUL"), "no plug-in sends: \"SUCCESSFUL\""},
                                         BrokenCase{framed("ERROR"), "no plug-in sends"},
                                         BrokenCase{framed("FUNCTION: FORMATDISK now\x1b[2J"),
                                                    "no plug-in sends: \"FUNCTION: FORMATDISK now?[2J\""},
                                         BrokenCase{framed("STARTED"), "no plug-in sends: \"STARTED\""}));

TEST_F(FarmSessionTest, AHostWithoutEndToItsErrorsIsGivenUp) {
    open([](Peer& peer) {
        peer.expect("EndJob");
        // No more than it takes before it hangs up: the next one would find the connection reset.
        for (int i = 0; i < 9; ++i)
            peer.say("ERROR: again");
        peer.expect_end();
    });
    EXPECT_THAT(failure_of([&] { session.end_job(); }), HasSubstr("one error after another"));
}

TEST_F(FarmSessionTest, ASilentHostRunsOutOfTime) {
    limits.work = 50ms;
    FarmSession impatient(connection, job, observer, stop, limits);
    open([](Peer& peer) {
        peer.expect("RenderTask,3");
        peer.expect_end();
    });
    EXPECT_THAT(failure_of([&] { impatient.render(3); }), HasSubstr("did not answer in time"));
}

TEST_F(FarmSessionTest, RequestsAloneDontKeepAFrameAlive) {
    limits.work = 200ms;
    FarmSession impatient(connection, job, observer, stop, limits);
    open([](Peer& peer) {
        peer.expect("RenderTask,3");
        peer.say("STARTED");
        EXPECT_THROW(
            for (;;) {
                peer.say("FUNCTION: PROGRESS 1");
                peer.expect("CONTINUE");
            },
            quorvel::win32::simple_socket_error);
    });
    EXPECT_THAT(failure_of([&] { impatient.render(3); }), HasSubstr("did not answer in time"));
    connection.close();
}

TEST_F(FarmSessionTest, OnlyThePeerWithTheTokenIsLetIn) {
    run_peer([&](Peer& peer) {
        peer.say("guess");
        peer.expect_end();
        Peer host(connection.port());
        host.greet();
        host.expect_end();
    });
    connection.accept("token", deadline_in(10s));
    EXPECT_EQ(session.handshake(), k_greeting);
}

TEST_F(FarmSessionTest, AStrangerAloneIsMentionedWhenTimeIsUp) {
    run_peer([](Peer& peer) {
        peer.say("guess");
        peer.expect_end();
    });
    EXPECT_THAT(failure_of([&] { connection.accept("token", deadline_in(2s)); }),
                HasSubstr("a peer with another token was turned away"));
}

TEST_F(FarmSessionTest, WrongGreetingsAreRefused) {
    for (const std::string greeting :
         {"Hello", "Corrivane 1   Incompatible plugin versions detected, exiting.", "ERROR: no"}) {
        HostConnection own_connection(stop);
        FarmSession own_session(own_connection, job, observer, stop, limits);
        std::thread peer_thread([&] {
            Peer peer(own_connection.port());
            peer.say("token");
            peer.expect("QuillaneStartup");
            peer.say(greeting);
            peer.expect_end();
        });
        own_connection.accept("token", deadline_in(10s));
        EXPECT_NE(failure_of([&] { own_session.handshake(); }), "no failure") << greeting;
        own_connection.close();
        peer_thread.join();
    }
}

TEST_F(FarmSessionTest, AStopIsToldAtTheNextProgressReport) {
    observer.at_progress = [this] {
        if (!stop.requested()) stop.raise();
    };
    open([](Peer& peer) {
        peer.expect("RenderTask,3");
        peer.say("STARTED");
        peer.say("FUNCTION: PROGRESS 10");
        peer.expect("CONTINUE");
        peer.say("FUNCTION: PROGRESS 20");
        peer.expect("ABORT");
        peer.say("ERROR: Failed to render the frame.");
        peer.say(k_failed);
        peer.expect("EndJob");
        peer.say("SUCCESS");
    });
    EXPECT_EQ(session.render(3).error, "Failed to render the frame.");
    EXPECT_TRUE(session.end_job().success);
}

TEST_F(FarmSessionTest, TheSecondStopWaitsForNothing) {
    open([](Peer& peer) {
        peer.expect("RenderTask,3");
        peer.expect_end();
    });
    std::thread user([this] {
        stop.raise();
        stop.raise();
    });
    EXPECT_THROW(session.render(3), Stopped);
    user.join();
}

TEST_F(FarmSessionTest, AStopBeforeTheHostHasConnectedEndsTheWait) {
    std::thread user([this] { stop.raise(); });
    EXPECT_THROW(connection.accept("token", Deadline::max()), Stopped);
    user.join();
}

TEST_F(FarmSessionTest, TheLargestValueArrivesWhileTheScriptWaits) {
    const std::string value(99996 - 9, 'v');
    job.job_info["Large"] = value;
    open([&](Peer& peer) {
        peer.expect("ExecuteScript,1,a.ms");
        peer.say("STARTED");
        peer.say("FUNCTION: GETJOBINFOENTRY Large");
        const auto begin = Clock::now();
        peer.expect("SUCCESS: " + value);
        EXPECT_LT(Clock::now() - begin, 1s);
        peer.say("SUCCESS");
    });
    EXPECT_TRUE(session.run_script("ExecuteScript,1,a.ms").success);
}

TEST_F(FarmSessionTest, PairsOfSmallMessagesAreNotHeldBack) {
    // Without prompt acknowledgements each of these pairs takes some 40 ms, as it would in a render.
    constexpr int pairs = 100;
    open([](Peer& peer) {
        peer.expect("RenderTask,3");
        peer.say("STARTED");
        for (int i = 0; i < pairs; ++i) {
            peer.say("FUNCTION: SETTITLE Rendering");
            peer.say("FUNCTION: PROGRESS 1");
            peer.expect("CONTINUE");
        }
        peer.say("SUCCESS");
    });
    const auto begin = Clock::now();
    EXPECT_TRUE(session.render(3).success);
    EXPECT_LT(Clock::now() - begin, pairs * 30ms);
}

}  // namespace
}  // namespace corrivane::worker
