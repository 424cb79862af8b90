#include "quorvel/max3d/maxscript.h"

#include "plugin/plugin_test.h"

#include <windows.h>

#include <thread>

namespace corrivane::test {
namespace {

using namespace quorvel::max3d;

class ScriptExecution : public PluginTest {
protected:
    ScriptExecution() {
        define("other", []() -> Value* { throw 17; });
        define("note", [this] { return ++m_noted, &undefined; });
    }

    int m_noted = 0;
};

/// The printed result of an evaluation or the text of its exception, checking that it leaves the chain of
/// frames as it was.
template <typename Operation>
std::string outcome(Operation operation) {
    const scoped_maxscript_frame frame;
    value_locals<1> before;
    const ValueLocalsFrame* chain = current_locals_frame();
    std::string outcome;
    try {
        Value* result = operation();
        static_cast<void>(new String("garbage"));  // the result survives a collection
        outcome = maxscript_value_text(result);
    } catch (const std::exception& error) {
        outcome = error.what();
    } catch (int number) {
        outcome = "int " + std::to_string(number);
    }
    EXPECT_EQ(current_locals_frame(), chain) << outcome;
    return outcome;
}

TEST_F(ScriptExecution, FilesAndTextsGiveTheirLastResultOrTheirError) {
    const struct {
        const char* script;
        std::string result;  ///< an error's begins so
        int noted = 0;
    } cases[] = {
        {"", "OK"},
        {" \n\t\n", "OK"},
        {"true;true\nfalse\n", "false"},
        {"\n \"ab\" + \"c\";", "\"abc\""},
        {"note(); note(); 1 + undefined; note()", "-- Unable to convert", 2},
        {"note(); fn deep n = (if n == 0 then undefined + 1 else deep (n - 1)); deep 9",
         "-- No \"\"+\"\" function for undefined", 1},
        {"note()\n(1 + ", "-- Syntax error", 1},
        {"other()", "int 17"},
    };
    for (const auto& [script, result, noted] : cases) {
        write_file(on_disk("a.ms"), script);
        m_noted = 0;
        EXPECT_THAT(outcome([] { return execute_maxscript_file("C:\\a.ms"); }),
                    StartsWith((result.starts_with("--") ? "MAXScriptException: " : "") + result));
        EXPECT_EQ(m_noted, noted) << script;
        EXPECT_THAT(outcome([&script = script] { return execute_maxscript_string(script); }),
                    StartsWith(result));
        EXPECT_EQ(m_noted, 2 * noted) << script;
    }
    EXPECT_THAT(outcome([] { return execute_maxscript_file("C:\\none.ms"); }),
                StartsWith("MAXScriptException: -- Runtime error: Unable to open file: C:\\none.ms"));
}

TEST_F(ScriptExecution, StreamsAreClosedWhateverTheirScriptDoes) {
    for (const char* script : {"1", "1 + undefined"}) {
        write_file(on_disk("a.ms"), script);
        const scoped_maxscript_frame frame;
        value_locals<1> locals;
        auto* file = locals.keep(0, new FileStream());
        ASSERT_NE(file->open("C:\\a.ms", "r"), nullptr);
        outcome([file] { return execute_maxscript_stream(file); });
        EXPECT_THROW(file->get_char(), MAXScriptException) << "still open after " << script;
    }
}

TEST_F(ScriptExecution, ThreadWithoutABlockGetsOneOrAClearError) {
    std::thread([] {
        const DWORD index = std::exchange(thread_locals_index, TLS_OUT_OF_INDEXES);
        EXPECT_EQ(message_of([] { execute_maxscript_string("true"); }),
                  "quorvel/max3d/maxscript:86 "
                  "quorvel::max3d::scoped_maxscript_frame::scoped_maxscript_frame() assert condition "
                  "GetLastError() == ERROR_SUCCESS failed: Unable to get the MXS current_locals_frame for "
                  "the current thread.");
        thread_locals_index = index;
        EXPECT_EQ(maxscript_value_text(execute_maxscript_string("true")), "true");
        EXPECT_EQ(current_locals_frame(), nullptr);
    }).join();
}

}  // namespace
}  // namespace corrivane::test
