#include "job_session.h"
#include "test_scene.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace corrivane::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

std::string run_text(const std::string& text) {
    return "ExecuteStringScript,3," + field(text);
}

/// Saves a script and gives the command that runs it.
std::string run_file(const HostSession& session, const std::string& text, const std::string& more = "") {
    write_file(session.drive_c() / "scripts/job.ms", text);
    return "ExecuteScript,3," + field("C:\\scripts\\job.ms") + more;
}

TEST(Scripts, AnswerWithTheirResult) {
    HostSession session;
    const std::pair<const char*, const char*> texts[] = {
        {"\"abc\"", "SUCCESS: abc"},
        {"1 + 2; \"x\" + (3 as string)", "SUCCESS: x3"},
        {"42", "ERROR: Script did not return a string: 42"},
        {"", "ERROR: Script did not return a string: OK"},
        {"QuillaneUtil.CurrentFrame as string", "SUCCESS: 3"},
    };
    for (const auto& [text, reply] : texts)
        EXPECT_THAT(session.run(run_text(text)), ElementsAre("STARTED", reply)) << text;

    const std::pair<const char*, const char*> files[] = {
        {"true", "SUCCESS"},
        {"", "SUCCESS"},
        {"  \n -- nothing\n", "SUCCESS"},
        {"true\nfalse", "ERROR: Script did not return success: false"},
        {"#(1, \"two\")", "ERROR: Script did not return success: #(1, \"two\")"},
        {"undefined", "ERROR: Script did not return success: undefined"},
    };
    for (const auto& [text, reply] : files)
        EXPECT_THAT(session.run(run_file(session, text)), ElementsAre("STARTED", reply)) << text;
    EXPECT_EQ(session.finish(), 0);
}

TEST(Scripts, AnswerWhatIsWrongWithTheCommand) {
    HostSession session;
    EXPECT_THAT(session.run("ExecuteScript"),
                ElementsAre("ERROR: ExecuteScript: Expected 2 parameters, got 0"));
    EXPECT_THAT(session.run("ExecuteStringScript,1"),
                ElementsAre("ERROR: ExecuteStringScript: Expected 2 parameters, got 1"));
    for (const char* command : {"ExecuteScript,x,y", "ExecuteStringScript,x,y"})
        EXPECT_THAT(session.run(command),
                    ElementsAre("ERROR: ExecuteScript: Parameter 1 , \"x\", is not a valid frame number."));
    EXPECT_THAT(session.run(run_text("\"alive\"")), ElementsAre("STARTED", "SUCCESS: alive"));
}

TEST(Scripts, ErrorsEndTheSessionWithTheLine) {
    const auto reply_to = [](const std::string& file_text, const std::string& string_text) {
        HostSession session;
        return session.run(file_text.empty() ? run_text(string_text) : run_file(session, file_text)).back();
    };
    const std::string caught = "ERROR: Exception caught in 3ds max: ";
    const std::string in_file = reply_to("a = 1\nb = 2\nb + undefined", "");
    EXPECT_THAT(in_file, StartsWith(caught + "MAXScriptException: "));
    EXPECT_THAT(in_file, HasSubstr("3"));
    EXPECT_THAT(reply_to("a = 1\nif then", ""), StartsWith(caught + "MAXScriptException: -- Syntax error"));
    EXPECT_THAT(reply_to("", "(1 + "), StartsWith(caught + "-- Syntax error"));
    EXPECT_THAT(reply_to("", "QuillaneUtil.FailRender \"bad\""), HasSubstr("bad"));
    EXPECT_THAT(reply_to("", "fn f = f(); f()"), StartsWith(caught + "-- Runtime error"));
}

TEST(Scripts, MoveTheTimeOnlyWhenAsked) {
    HostSession session;
    const std::string text = "QuillaneUtil.SetTitle (currentTime as string); true";
    session.run(run_file(session, text));
    session.run(run_file(session, text, ",settime"));
    session.run(run_file(session, text, ",setTime"));
    EXPECT_THAT(session.progress(),
                ElementsAre("FUNCTION: SETTITLE 0f", "FUNCTION: SETTITLE 0f", "FUNCTION: SETTITLE 3f"));
    EXPECT_THAT(session.log_lines(), testing::IsSupersetOf({"Set Time to 3", "GetTime(): 480"}));
}

TEST(Scripts, TalkToTheWorker) {
    HostSession session;
    const auto ask = [&session](const std::string& text, const std::string& request,
                                const std::string& answer) {
        session.send(run_text(text));
        EXPECT_EQ(session.receive(), "STARTED");
        EXPECT_EQ(session.receive(), request);
        if (!answer.empty()) session.send(answer);
        return session.receive();
    };
    EXPECT_EQ(ask("QuillaneUtil.GetJobInfoEntry \"Name\"", "FUNCTION: GETJOBINFOENTRY Name", "SUCCESS: a, b"),
              "SUCCESS: a, b");
    EXPECT_EQ(ask("QuillaneUtil.GetJobInfoEntry \"Name\"", "FUNCTION: GETJOBINFOENTRY Name", "SUCCESS: "),
              "SUCCESS: ");
    EXPECT_EQ(ask("QuillaneUtil.GetJobInfoEntry \"Name\"", "FUNCTION: GETJOBINFOENTRY Name", "SUCCESS:"),
              "ERROR: Script did not return a string: undefined");
    EXPECT_EQ(ask("QuillaneUtil.GetSubmitInfoEntryElement 2 \"Files\"",
                  "FUNCTION: GETSUBMITINFOENTRYELEMENT 2,Files", "SUCCESS: x"),
              "SUCCESS: x");
    EXPECT_EQ(ask("(QuillaneUtil.GetSubmitInfoEntryElementCount \"Files\") as string",
                  "FUNCTION: GETSUBMITINFOENTRYELEMENTCOUNT Files", "SUCCESS: 7"),
              "SUCCESS: 7");
    EXPECT_EQ(ask("QuillaneUtil.GetAuxFilename -1", "FUNCTION: GETAUXFILE -1", "no"),
              "ERROR: Script did not return a string: undefined");
    EXPECT_EQ(
        ask("(QuillaneUtil.SetProgress (100.0 / 3)) as string", "FUNCTION: PROGRESS 33.33333", "CONTINUE"),
        "SUCCESS: true");
    EXPECT_EQ(ask("(QuillaneUtil.SetProgress 12.5) as string", "FUNCTION: PROGRESS 12.5", "STOP"),
              "SUCCESS: false");
    EXPECT_EQ(ask("QuillaneUtil.LogMessage \"to the log\"; \"\"", "FUNCTION: STDOUT: to the log", ""),
              "SUCCESS: ");
}

TEST(Scripts, FailWhenTheWorkerDoesNotAnswerAndReadTheLateAnswerAsACommand) {
    HostSession session;
    session.send(run_text("try (QuillaneUtil.GetJobInfoEntry \"k\") catch (getCurrentException())"));
    EXPECT_EQ(session.receive(), "STARTED");
    EXPECT_EQ(session.receive(), "FUNCTION: GETJOBINFOENTRY k");
    EXPECT_THAT(
        session.receive(),
        HasSubstr("Error in GetJobInfoEntry: simple_socket: Timed out waiting for header packet to arrive."));
    session.send("SUCCESS: late");
    EXPECT_EQ(session.receive(), "ERROR: Unexpected command \"SUCCESS: late\" received.");
}

TEST(Scripts, RunDuringARenderAndSeeItsFiles) {
    JobSession job(small_scene());
    EXPECT_THAT(job.session.run(
                    run_text("callbacks.addScript #preRenderFrame \"QuillaneUtil.LogMessage \\\"pre\\\"\" "
                             "id:#test; \"\"")),
                ElementsAre("STARTED", "SUCCESS: "));
    EXPECT_THAT(job.render(5), ElementsAre("STARTED", "FUNCTION: STDOUT: pre", "SUCCESS"));
    EXPECT_THAT(job.session.run(run_text("QuillaneUtil.GetOutputFilename 0")),
                ElementsAre("STARTED", "SUCCESS: C:\\out\\beauty0005.png"));
    EXPECT_THAT(job.session.run(run_text("(QuillaneUtil.GetOutputFilename 1) as string")),
                ElementsAre("STARTED", "SUCCESS: undefined"));
    job.session.run(run_text(
        "callbacks.addScript #preRenderFrame \"QuillaneUtil.FailRender \\\"no\\\"\" id:#test; \"\""));
    EXPECT_THAT(job.render(6),
                ElementsAre("STARTED", "FUNCTION: STDOUT: pre", StartsWith("ERROR: Maxscript exception:")));
}

TEST(Scripts, WorkWithoutASession) {
    const TemporaryFolder folder;
    const auto scene = save_scene(small_scene(), folder.path());
    write_file(folder.path() / "by_hand.ms",
               "QuillaneUtil.LogMessage \"to the Listener\"\n"
               "QuillaneUtil.SetTitle \"abc\"\n"
               "print (QuillaneUtil.SetProgress 50.0)\n"
               "print (QuillaneUtil.GetJobInfoEntry \"key\")\n"
               "print (QuillaneUtil.GetSubmitInfoEntryElementCount \"key\")\n"
               "print (QuillaneUtil.Debug_EndJob())\n"
               "print (QuillaneUtil.Debug_StartJob \"" +
                   scene.string() +
                   "\" \"\")\n"
                   "print (QuillaneUtil.Debug_RenderFrame 2)\n"
                   "print (QuillaneUtil.GetOutputFilename 0)\n"
                   "print (QuillaneUtil.Debug_EndJob())\n"
                   "sliderTime = 25\nprint QuillaneUtil.CurrentFrame\n");
    RunningProgram host({(programs_folder() / "corrivane-host").string(), "--drive",
                         "C=" + folder.path().string(), (folder.path() / "by_hand.ms").string()},
                        folder.path() / "output.txt");
    EXPECT_EQ(host.wait(), 0) << host.output();
    EXPECT_THAT(
        host.output(),
        HasSubstr("to the Listener\nTitle was set to \"abc\"\ntrue\nundefined\n0\n"
                  "Exception: EndJob called when consistency check flag jobRunning was not set\nfalse\n"
                  "true\ntrue\n\"C:\\out\\beauty0002.png\"\ntrue\n25\n"));
    EXPECT_TRUE(std::filesystem::exists(folder.path() / "out/beauty0002.png"));
}

TEST(Scripts, MayNotStartASecondSession) {
    HostSession session;
    EXPECT_THAT(session.run(run_text("(QuillaneUtil.RunCorrivaneDaemon 1 \"x\") as string")),
                ElementsAre("STARTED", "SUCCESS: false"));
    EXPECT_THAT(session.run(run_text("\"alive\"")), ElementsAre("STARTED", "SUCCESS: alive"));
}

}  // namespace
}  // namespace corrivane::test
