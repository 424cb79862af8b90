#include "worker/hosts/farm_session.h"

#include "support/test.h"
#include "support/wire_peer.h"
#include "worker/base/failures.h"
#include "worker/hosts/farm_answers.h"

#include <thread>

namespace corrivane::worker {
namespace {

using namespace testing;
using namespace std::chrono_literals;

constexpr const char* plugin_greeting = "Corrivane 2.7.29981 Oct 29 2007 07:16:22 R";
constexpr const char* failed = "ERROR: Failed to save file.";

/// The plug-in's end of the wire, which says and expects what a test tells it. A script sends nothing that
/// may come after the worker has hung up.
class Peer : public test::WirePeer {
public:
    explicit Peer(int port) { connect(port); }

    void expect(const std::string& message) { EXPECT_EQ(receive(), message); }
    /// The worker hangs up without another word.
    void expect_end() { EXPECT_THAT(receive_all(), IsEmpty()); }
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

TEST(FarmSession, ErrorsOfAFrameAreReadToTheLastReply) {
    // Replies, whether the host hangs up after them, and the error.
    const std::tuple<test::Texts, bool, std::string> cases[] = {
        {{"STARTED", failed}, false, "Failed to save file."},
        {{"STARTED", "ERROR: no memory", failed}, false, "no memory"},
        {{"STARTED", "ERROR: thrown", "ERROR: fault\nreport", failed}, false, "thrown\nfault\nreport"},
        {{"ERROR: RenderTask: Called outside."}, false, "RenderTask: Called outside."},
        {{"STARTED", "ERROR: SEH exception: fault\nreport"}, true, "SEH exception: fault\nreport"},
    };
    for (const auto& [replies, hangs_up, error] : cases) {
        Farm farm;
        farm.open([&replies = replies, hangs_up = hangs_up](Peer& peer) {
            peer.expect("RenderTask,3");
            peer.say(replies);
            if (hangs_up) return peer.close();
            peer.expect("RenderTask,4");
            peer.say({"STARTED", "SUCCESS"});
        });
        const CommandResult result = farm.session.render(3);
        EXPECT_FALSE(result.success);
        EXPECT_EQ(result.error, error);
        EXPECT_EQ(result.session_over, hangs_up);
        EXPECT_TRUE(hangs_up || farm.session.render(4).success) << error;
    }
}

TEST(FarmSession, ABrokenPeerFailsTheHostAndTheReasonIsNamed) {
    std::string errors;
    for (int i = 0; i < 9; ++i)
        errors += Peer::frame("ERROR: again");
    // What is sent after STARTED, and a part of the failure's text.
    const std::pair<std::string, const char*> cases[] = {
        {errors, "one error after another"},
        {"", "closed the connection"},
        {Peer::length_field(100001), "packet size (given 100001)"},
        {std::string("\0\0", 2), "closed the connection"},
        {std::string("\0\0\0\5abc", 7), "closed the connection"},
        {Peer::frame("OK"), "no plug-in sends: \"OK\""},
        {Peer::frame("SUCCESSFUL"), "no plug-in sends: \"SUCCESSFUL\""},
        {Peer::frame("ERROR"), "no plug-in sends"},
        {Peer::frame("FUNCTION: FORMATDISK now\x1b[2J"),
         "no plug-in sends: \"FUNCTION: FORMATDISK now?[2J\""},
        {Peer::frame("STARTED"), "no plug-in sends: \"STARTED\""},
    };
    for (const auto& [bytes, reason] : cases) {
        Farm farm;
        farm.open([&bytes = bytes](Peer& peer) {
            peer.expect("RenderTask,3");
            peer.send("STARTED");
            peer.send_bytes(bytes);
            peer.close();
        });
        EXPECT_THAT(test::message_of([&] { farm.session.render(3); }), HasSubstr(reason));
    }
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
    EXPECT_THAT(test::message_of([&] { farm.session.render(3); }), HasSubstr("did not answer in time"));
}

TEST(FarmSession, OnlyThePeerWithTheTokenIsLetIn) {
    const std::pair<const char*, std::function<void(Peer&)>> strangers[] = {
        {"another token", [](Peer& peer) { peer.send("guess"); }},
        {"too short a token", [](Peer& peer) { peer.send("toke"); }},
        {"a part of the token", [](Peer& peer) { peer.send_bytes(Peer::frame("token").substr(0, 6)); }},
        {"another protocol", [](Peer& peer) { peer.send_bytes("GET / HTTP/1.0\r\n\r\n"); }},
        {"no length", [](Peer& peer) { peer.send_bytes("\xff\xff\xff\xff"); }},
        {"nothing", [](Peer&) {}},
        {"nothing, and gone", [](Peer& peer) { peer.close(); }},
        {"nothing, and died", [](Peer& peer) { peer.reset(); }},
    };
    for (const auto& [what, stranger] : strangers) {
        SCOPED_TRACE(what);
        Farm farm;
        farm.run_peer([&stranger = stranger, &farm](Peer& peer) {
            stranger(peer);
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
    EXPECT_THAT(test::message_of([&] { farm.connection.accept("token", deadline_in(2s)); }),
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
        EXPECT_NE(test::message_of([&] { farm.session.handshake(); }), "no exception") << greeting;
    }
}

TEST(FarmSession, AStopBeforeTheHostHasConnectedEndsTheWait) {
    Farm farm;
    std::thread user([&farm] { farm.stop.raise(StopRequest::Level::finishing); });
    EXPECT_THROW(farm.connection.accept("token", Deadline::max()), Stopped);
    user.join();
}

TEST(FarmAnswers, ValueRequestsAreAnsweredFromTheJob) {
    Job job;
    job.job_info = {{"Name", "Robot, blue"}, {"Empty", ""}, {"a,b c", "odd key"}};
    job.submit_info = {
        {"Files", {"one", "two", "three"}}, {"User", {"ana"}}, {"None", {}}, {"x,y", {"commas"}}};
    job.aux_files = {"first.txt", "second.txt"};
    const std::pair<const char*, const char*> answered[] = {{"GETJOBINFOENTRY Name", "Robot, blue"},
                                                            {"GETJOBINFOENTRY Empty", ""},
                                                            {"GETJOBINFOENTRY a,b c", "odd key"},
                                                            {"GETSUBMITINFOENTRY User", "ana"},
                                                            {"GETSUBMITINFOENTRY Files", "one,two,three"},
                                                            {"GETSUBMITINFOENTRYELEMENTCOUNT Files", "3"},
                                                            {"GETSUBMITINFOENTRYELEMENTCOUNT User", "1"},
                                                            {"GETSUBMITINFOENTRYELEMENTCOUNT None", "0"},
                                                            {"GETSUBMITINFOENTRYELEMENT 2,Files", "three"},
                                                            {"GETSUBMITINFOENTRYELEMENT 0,x,y", "commas"},
                                                            {"GETAUXFILE 1", "second.txt"}};
    for (const auto& [request, answer] : answered)
        EXPECT_EQ(answer_value_request(std::string("FUNCTION: ") + request, job),
                  std::string("SUCCESS: ") + answer);
    for (const char* unknown : {"JOBINFOENTRY name", "JOBINFOENTRY ", "SUBMITINFOENTRY Nobody",
                                "SUBMITINFOENTRYELEMENTCOUNT Nobody", "SUBMITINFOENTRYELEMENT 3,Files",
                                "SUBMITINFOENTRYELEMENT -1,Files", "SUBMITINFOENTRYELEMENT Files",
                                "SUBMITINFOENTRYELEMENT 99999999999999999999999,Files", "AUXFILE 2",
                                "AUXFILE -1", "AUXFILE 0x1", "AUXFILE "})
        EXPECT_THAT(answer_value_request(std::string("FUNCTION: GET") + unknown, job),
                    Optional(StartsWith("ERROR: ")));
    for (const char* other : {"FUNCTION: SETTITLE GETAUXFILE 1", "GETAUXFILE 1", "FUNCTION: GETAUXFILE", ""})
        EXPECT_FALSE(answer_value_request(other, job)) << other;
}

TEST(FarmAnswers, ProgressIsAPercentageOrUnknown) {
    const std::pair<const char*, double> cases[] = {
        {"0", 0},     {"45.5", 45.5}, {"33.33333", 33.33333}, {"100", 100}, {"250", 100}, {"-1", -1},
        {"-0.5", -1}, {"nan", -1},    {"inf", 100},           {"", -1},     {"x", -1},    {"50%", -1},
        {"1e999", -1}};
    for (const auto& [text, percent] : cases)
        EXPECT_EQ(parse_progress(text), percent) << text;
}

}  // namespace
}  // namespace corrivane::worker
