#include "job_session.h"

#include <csignal>

namespace corrivane::test {
namespace {

using testing::MatchesRegex;

const std::string exception_prefix = "ERROR: Exception caught in 3ds max: ";

TEST(Session, ShakesHandsAndEndsWhenTheWorkerCloses) {
    HostSession session;
    EXPECT_EQ(session.token(), "a token, with \"quotes\"");
    EXPECT_THAT(session.greeting(),
                MatchesRegex("Corrivane 2\\.7\\.29981 [A-Z][a-z][a-z] [ 0-9][0-9] [0-9]{4} "
                             "[0-9]{2}:[0-9]{2}:[0-9]{2} R"));
    EXPECT_EQ(session.finish(), 0);
    EXPECT_THAT(session.host().output(), HasSubstr("true"));
    EXPECT_EQ(session.log_lines().back(), "Returning TRUE");
}

TEST(Session, RefusesAnotherHandshakeWordAndGivesUpOnASilentWorker) {
    const std::string incompatible = "   Incompatible plugin versions detected, exiting.";
    for (const char* word : {"QuillaneStartup ", "quillanestartup", ""}) {
        HostSession session({.handshake = word});
        const bool silent = *word == '\0';
        EXPECT_THAT(session.greeting(), EndsWith(silent ? "" : " R" + incompatible));
        EXPECT_EQ(session.receive(),
                  exception_prefix + (silent ? "simple_socket: Timed out waiting for header packet to arrive."
                                             : "Incorrect handshake with Quillane plugin."));
        EXPECT_EQ(session.finish(), 0);
        EXPECT_THAT(session.host().output(), HasSubstr("false"));
    }
}

TEST(Session, AnswersWhatItDoesNotKnowAndGoesOn) {
    HostSession session;
    const std::pair<const char*, const char*> cases[] = {
        {"renderTask,1", "renderTask"}, {",x", ""},         {" EndJob", " EndJob"},
        {"\"a,b\",c", "a,b"},           {"a\\\"b", "a\"b"}, {"a\\nb", "a\nb"},
    };
    for (const auto& [command, name] : cases)
        EXPECT_THAT(session.run(command),
                    ElementsAre("ERROR: Unexpected command \"" + std::string(name) + "\" received."));
    session.send("CONTINUE");
    EXPECT_THAT(session.run("RenderTask,12"),
                ElementsAre("ERROR: RenderTask: Called without being in a job."));
    EXPECT_THAT(session.run("RenderTask,1,2"), ElementsAre("ERROR: RenderTask: Expected 1 parameter, got 2"));
    EXPECT_THAT(session.run("RenderTask, 1"),
                ElementsAre("ERROR: RenderTask: Parameter 1 , \" 1\", is not a valid frame number."));
    EXPECT_THAT(
        session.run("EndJob,extra"),
        ElementsAre("ERROR: EndJob called when consistency check flag jobRunning was not set", "SUCCESS"));
    EXPECT_EQ(session.finish(), 0);
}

TEST(Session, EndsAtAMalformedLine) {
    const std::pair<const char*, const char*> cases[] = {
        {"StartJob,C:\\temp\\a.gltf,", "unknown escape sequence"},
        {"StartJob,x\\", "cannot end with escape"},
    };
    for (const auto& [command, text] : cases) {
        HostSession session;
        session.send(command);
        EXPECT_EQ(session.receive(), exception_prefix + text);
        EXPECT_EQ(session.finish(), 0);
        EXPECT_THAT(session.host().output(), HasSubstr("false"));
    }
}

TEST(Session, SurvivesMessagesInPiecesAndCutOnes) {
    HostSession session;
    session.send_bytes(std::string("\0\0", 2));
    session.send_bytes(std::string("\0\x05x,", 4));
    session.send_bytes("yzw");
    EXPECT_EQ(session.receive(), "ERROR: Unexpected command \"x\" received.");

    session.send_bytes(WirePeer::length_field(16) + "Start");
    EXPECT_EQ(session.finish(), 0);
}

TEST(Session, LogsEachCommandAsItArrives) {
    HostSession session;
    session.run("RenderTask,\"x,y\"");
    // The log is complete even when the process is killed.
    session.host().send_signal(SIGKILL);
    session.host().wait();
    EXPECT_THAT(read_file(session.drive_c() / "Quillane/logs/3dsmaxConnect.log"),
                EndsWith(as_written_by_host("running daemon...\n\nGot command: RenderTask,\"x,y\"\n\n"
                                            "Command: RenderTask,\"x,y\"\nRenderTask\nx,y\n\n")));
}

}  // namespace
}  // namespace corrivane::test
