#include "fakes/fake_max.h"
#include "fakes/fake_scripts.h"
#include "plugin/plugin_test.h"
#include "support/message_of.h"

namespace corrivane::test {
namespace {

using Replies = std::vector<std::string>;

class ScriptCommands : public PluginTest {
protected:
    ScriptCommands() {
        auto& expressions = fake_scripts().expressions;
        expressions["true"] = [] { return boolean(true); };
        expressions["false"] = [] { return boolean(false); };
        expressions["ok"] = [] { return &ok; };
        expressions["\"abc\""] = [] { return new String("abc"); };
        expressions["42"] = [] { return number(42); };
        expressions["undefined"] = [] { return &undefined; };
        expressions["f a,b"] = [] { return new String("a,b"); };
    }

    Replies run(const std::string& line) { return run_command(m_link, line); }

    Link m_link;
};

TEST_F(ScriptCommands, ResultsDecideTheReply) {
    const struct {
        std::string script;
        std::string file_reply;
        std::string text_reply;
    } cases[] = {
        {"true", "SUCCESS", "ERROR: Script did not return a string: true"},
        {"ok", "SUCCESS", "ERROR: Script did not return a string: OK"},
        {"", "SUCCESS", "ERROR: Script did not return a string: OK"},
        {"false", "ERROR: Script did not return success: false",
         "ERROR: Script did not return a string: false"},
        {"42", "ERROR: Script did not return success: 42", "ERROR: Script did not return a string: 42"},
        {"undefined", "ERROR: Script did not return success: undefined",
         "ERROR: Script did not return a string: undefined"},
        {"\"abc\"", "ERROR: Script did not return success: \"abc\"", "SUCCESS: abc"},
        {"f a,b", "ERROR: Script did not return success: \"a,b\"", "SUCCESS: a,b"},
    };
    int frame = 10;
    for (const auto& [script, file_reply, text_reply] : cases) {
        fake_scripts().files["C:\\a.ms"] = script;
        EXPECT_EQ(run("ExecuteScript," + std::to_string(++frame) + ",C:\\\\a.ms"),
                  (Replies{"STARTED", file_reply}));
        EXPECT_EQ(job_state.currentFrame, frame);
        EXPECT_TRUE(log().ends_with("\nExecuting script C:\\a.ms\nDone Executing script C:\\a.ms\n"));
        const std::string quoted =
            script.find('"') == std::string::npos ? "\"" + script + "\"" : "\\\"abc\\\"";
        EXPECT_EQ(run("ExecuteStringScript," + std::to_string(-frame) + "," + quoted),
                  (Replies{"STARTED", text_reply}));
        EXPECT_EQ(job_state.currentFrame, -frame);
        EXPECT_TRUE(log().ends_with("\nExecuting script... \n... Done Executing script \n"));
    }
    EXPECT_EQ(fake_max().calls, Replies{});
}

TEST_F(ScriptCommands, TimeIsSetOnlyByTheExactWord) {
    fake_scripts().files["a.ms"] = "true";
    for (const char* rest : {"", ",settime", ",,setTime", ",setTime "})
        run(std::string("ExecuteScript,10,a.ms") + rest);
    EXPECT_EQ(fake_max().calls, Replies{});
    run("ExecuteScript,10,a.ms,setTime,more");
    EXPECT_EQ(fake_max().calls, Replies{"SetTime 1600 1"});
    EXPECT_TRUE(log().ends_with(
        "Set Time to 10\nGetTime(): 1600\nExecuting script a.ms\nDone Executing script a.ms\n"));
}

TEST_F(ScriptCommands, BadParametersAreAnsweredWithoutAStart) {
    const struct {
        const char* line;
        const char* error;
    } cases[] = {
        {"ExecuteScript,x,a.ms", "ExecuteScript: Parameter 1 , \"x\", is not a valid frame number."},
        {"ExecuteStringScript,1 ,true", "ExecuteScript: Parameter 1 , \"1 \", is not a valid frame number."},
        {"ExecuteScript,x", "ExecuteScript: Parameter 1 , \"x\", is not a valid frame number."},
        {"ExecuteScript,1", "ExecuteScript: Expected 2 parameters, got 1"},
        {"ExecuteScript", "ExecuteScript: Expected 2 parameters, got 0"},
        {"ExecuteStringScript,1", "ExecuteStringScript: Expected 2 parameters, got 1"},
    };
    for (const auto& [line, error] : cases)
        EXPECT_EQ(run(line), Replies{std::string("ERROR: ") + error}) << line;
}

TEST_F(ScriptCommands, ErrorInTheScriptPassesAfterTheStart) {
    fake_scripts().files["a.ms"] = "true;)";
    const struct {
        const char* line;
        const char* error;
    } cases[] = {
        {"ExecuteScript,1,a.ms", "MAXScriptException: -- Runtime error: syntax: )"},
        {"ExecuteStringScript,1,)", "-- Runtime error: syntax: )"},
        {"ExecuteScript,1,none.ms", "MAXScriptException: -- Runtime error: the file is not open"},
    };
    for (const auto& [line, error] : cases) {
        EXPECT_EQ(message_of([&, line = line] { job_state.ProcessCommand(line, m_link.socket); }), error)
            << line;
        EXPECT_EQ(m_link.sent(), Replies{"STARTED"});
    }
}

}  // namespace
}  // namespace corrivane::test
