#include "host_session.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>

namespace corrivane::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;
using namespace std::chrono_literals;

constexpr const char* exception_prefix = "ERROR: Exception caught in 3ds max: ";

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

TEST(Session, RefusesAnotherHandshakeWord) {
    for (const char* word : {"QuillaneStartup ", "quillanestartup", "x"}) {
        HostSession::Options options;
        options.handshake = word;
        HostSession session(options);
        EXPECT_THAT(session.greeting(),
                    testing::EndsWith(" R   Incompatible plugin versions detected, exiting."));
        EXPECT_EQ(session.receive(),
                  std::string(exception_prefix) + "Incorrect handshake with Quillane plugin.");
        EXPECT_EQ(session.finish(), 0);
        EXPECT_THAT(session.host().output(), HasSubstr("false"));
    }
}

TEST(Session, GivesUpOnASilentWorker) {
    HostSession::Options options;
    options.handshake.clear();
    HostSession session(options);
    EXPECT_EQ(session.receive(), std::string(exception_prefix) +
                                     "simple_socket: Timed out waiting for header packet to arrive.");
}

TEST(Session, AnswersWhatItDoesNotKnowAndGoesOn) {
    HostSession session;
    const std::pair<const char*, const char*> cases[] = {
        {"renderTask,1", "renderTask"}, {",x", ""},         {" EndJob", " EndJob"},
        {"\"a,b\",c", "a,b"},           {"a\\\"b", "a\"b"}, {"a\\nb", "a\nb"},
    };
    for (const auto& [command, name] : cases) {
        EXPECT_THAT(session.run(command),
                    ElementsAre("ERROR: Unexpected command \"" + std::string(name) + "\" received."))
            << command;
    }
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
        EXPECT_EQ(session.receive(), std::string(exception_prefix) + text);
        EXPECT_EQ(session.finish(), 0);
        EXPECT_THAT(session.host().output(), HasSubstr("false"));
    }
}

TEST(Session, HoldsTheFrameSizeLimits) {
    HostSession session;
    session.send_bytes(std::string("\x00\x01\x86\xA0", 4) + std::string(100000, 'x'));
    EXPECT_EQ(session.receive(),
              std::string(exception_prefix) + "simple_socket::send: Tried to send too much data at once.");

    HostSession another;
    another.send_bytes(std::string("\x00\x01\x86\xA1", 4));
    EXPECT_EQ(another.receive(),
              std::string(exception_prefix) + "simple_socket::receive: Invalid packet size (given 100001)");

    HostSession negative;
    negative.send_bytes("\xFF\xFF\xFF\xFF");
    EXPECT_EQ(negative.receive(), std::string(exception_prefix) +
                                      "simple_socket::receive: Invalid packet size (given 4294967295)");
}

TEST(Session, SurvivesMessagesInPiecesAndCutOnes) {
    HostSession session;
    session.send_bytes(std::string("\0\0", 2));
    session.send_bytes(std::string("\0\x05x,", 4));
    session.send_bytes("yzw");
    EXPECT_EQ(session.receive(), "ERROR: Unexpected command \"x\" received.");

    session.send_bytes(
        std::string("\0\0\0\x10"
                    "Start",
                    9));
    EXPECT_EQ(session.finish(), 0);
    EXPECT_THAT(session.host().output(), HasSubstr("true"));
}

TEST(Session, TellsThatNobodyListens) {
    const TemporaryFolder folder;
    std::filesystem::create_directories(folder.path() / "Quillane/logs");
    RunningProgram host(
        {(programs_folder() / "corrivane-host").string(), "--drive", "C=" + folder.path().string(),
         "--execute", "print (QuillaneUtil.RunCorrivaneDaemon 1 \"t\")"},
        folder.path() / "output.txt");
    EXPECT_EQ(host.wait(), 0);
    EXPECT_THAT(host.output(), HasSubstr("false"));
    EXPECT_THAT(read_file(folder.path() / "Quillane/logs/3dsmaxConnect.log"),
                HasSubstr("Exception: connect: Failed to connect to server at port 1\n"));
}

TEST(Session, LogsEachCommandAsItArrives) {
    HostSession session;
    session.run("RenderTask,\"x,y\"");
    // The log is complete even when the process is killed.
    session.host().send_signal(SIGKILL);
    session.host().wait();
    const std::vector<std::string> lines = session.log_lines();
    const std::vector<std::string> expected = {"running daemon...",
                                               "",
                                               "Got command: RenderTask,\"x,y\"",
                                               "",
                                               "Command: RenderTask,\"x,y\"",
                                               "RenderTask",
                                               "x,y",
                                               ""};
    ASSERT_GE(lines.size(), expected.size());
    EXPECT_EQ(
        std::vector<std::string>(lines.end() - static_cast<std::ptrdiff_t>(expected.size()), lines.end()),
        expected);
}

}  // namespace
}  // namespace corrivane::test
