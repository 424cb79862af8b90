#include "job_session.h"

namespace corrivane::test {
namespace {

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
    const std::string other = "ERROR: Script did not return a string: ";
    // A script, what it requests, the answer (none is awaited where it is empty) and the result.
    const std::tuple<const char*, std::string, const char*, std::string> cases[] = {
        {"GetJobInfoEntry \"a, b\"", "GETJOBINFOENTRY a, b", "SUCCESS: a, b", "SUCCESS: a, b"},
        {"GetJobInfoEntry \"k\"", "GETJOBINFOENTRY k", "SUCCESS: ", "SUCCESS: "},
        {"GetSubmitInfoEntry \"k\"", "GETSUBMITINFOENTRY k", "SUCCESS:", other + "undefined"},
        {"GetSubmitInfoEntryElement -2 \"Files\"", "GETSUBMITINFOENTRYELEMENT -2,Files", "SUCCESS: x",
         "SUCCESS: x"},
        {"GetSubmitInfoEntryElementCount \"Files\"", "GETSUBMITINFOENTRYELEMENTCOUNT Files", "SUCCESS: 7",
         other + "7"},
        {"GetSubmitInfoEntryElementCount \"Files\"", "GETSUBMITINFOENTRYELEMENTCOUNT Files", "no",
         other + "0"},
        {"GetAuxFilename -1", "GETAUXFILE -1", "no", other + "undefined"},
        {"SetProgress (100.0 / 3)", "PROGRESS 33.33333", "CONTINUE", other + "true"},
        {"SetProgress 12.5", "PROGRESS 12.5", "STOP", other + "false"},
        {"SetTitle \"A, b\"; \"\"", "SETTITLE A, b", "", "SUCCESS: "},
        {"LogMessage \" to the log\"; \"\"", "STDOUT:  to the log", "", "SUCCESS: "},
    };
    for (const auto& [script, request, answer, result] : cases) {
        session.send(run_text("QuillaneUtil." + std::string(script)));
        EXPECT_EQ(session.receive(), "STARTED");
        EXPECT_EQ(session.receive(), "FUNCTION: " + request);
        if (*answer != '\0') session.send(answer);
        EXPECT_EQ(session.receive(), result) << script;
    }
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
    const std::string scene = save_scene(small_scene(), folder.path()).string();
    write_file(folder / "by_hand.ms", "q = QuillaneUtil\nscene = \"" + scene + R"("
        q.LogMessage "50% \"to the Listener\""
        q.SetTitle "100%d"
        print (q.SetProgress 50.0)
        print #(q.GetSubmitInfoEntry "k", q.GetSubmitInfoEntryElement 0 "k", q.GetJobInfoEntry "k", q.GetAuxFilename 0)
        print (q.GetSubmitInfoEntryElementCount "key")
        print (q.Debug_RenderFrame 1)
        standin.fault "GetActiveViewport" "Access Violation"
        print (q.Debug_StartJob scene "")
        print (q.Debug_StartJob scene "")
        print (q.Debug_RenderFrame 2)
        print #(q.GetOutputFilename 0, q.GetOutputFilename 1, q.GetOutputFilename -1)
        print (q.Debug_EndJob())
        print (q.Debug_RenderFrame 3)
        sliderTime = 25
        print q.CurrentFrame
        )");
    const HostRun run(folder.path(), {folder / "by_hand.ms"});
    const std::string not_running =
        "Exception: RenderFrame called when consistency check flag jobRunning was not set\nfalse\n";
    EXPECT_EQ(run.output, as_written_by_host(
                              "50% \"to the Listener\"\nTitle was set to \"100%d\"\ntrue\n"
                              "#(undefined, undefined, undefined, undefined)\n0\n" +
                              not_running +
                              "SEH Exception: Trapped SEH Exception in StartJob(): Access Violation\nfalse\n"
                              "true\ntrue\n#(\"C:\\out\\beauty0002.png\", undefined, undefined)\ntrue\n" +
                              not_running + "25\n"));
    EXPECT_EQ(run.exit_code, 0);
    EXPECT_TRUE(std::filesystem::exists(folder.path() / "out/beauty0002.png"));
}

TEST(Scripts, MayNotStartASecondSession) {
    HostSession session;
    EXPECT_THAT(session.run(run_text("(QuillaneUtil.RunCorrivaneDaemon 1 \"x\") as string")),
                ElementsAre("STARTED", "SUCCESS: false"));
    const std::string text = "RunCorrivaneDaemon() was executed while the daemon is already running.";
    EXPECT_THAT(session.log_lines(), testing::Contains(text));
    EXPECT_THAT(session.host().output(), HasSubstr(text));
}

}  // namespace
}  // namespace corrivane::test
