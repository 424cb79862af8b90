#include "quorvel/max3d/maxscript.h"

#include "fakes/fake_scripts.h"
#include "support/message_of.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>

namespace corrivane::test {
namespace {

using namespace quorvel::max3d;

class ScriptExecution : public testing::Test {
protected:
    ScriptExecution() {
        reset_fake_scripts();
        auto& expressions = fake_scripts().expressions;
        expressions["yes"] = [] { return boolean(true); };
        expressions["no"] = [] { return boolean(false); };
        expressions["text"] = [] { return new String("abc"); };
        expressions["note"] = [this] {
            ++m_noted;
            return &undefined;
        };
        expressions["deep"] = []() -> Value* {
            // As the interpreter does: a frame of its own, which an error leaves behind.
            static struct {
                ValueLocalsFrame frame;
                Value* slot;
            } abandoned;
            auto& chain = maxscript_thread_locals().current_locals_frame;
            abandoned = {{1, chain}, nullptr};
            chain = &abandoned.frame;
            throw RuntimeError("deep down");
        };
        expressions["standard"] = []() -> Value* { throw std::out_of_range("a standard exception"); };
        expressions["other"] = []() -> Value* { throw 17; };
    }
    ~ScriptExecution() override { reset_fake_scripts(); }

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
        outcome = maxscript_value_text(operation());
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
        std::string script;
        std::string from_file;
        std::string from_text;
        int noted;
    } cases[] = {
        {"", "OK", "OK", 0},
        {" \n\t\n", "OK", "OK", 0},
        {"yes", "true", "true", 0},
        {"yes;yes\nno\n", "false", "false", 0},
        {"\n text;", "\"abc\"", "\"abc\"", 0},
        {"note;note;)", "MAXScriptException: -- Runtime error: syntax: )", "-- Runtime error: syntax: )", 2},
        {"note;deep;note", "MAXScriptException: -- Runtime error: deep down", "-- Runtime error: deep down",
         1},
        {"missing", "MAXScriptException: -- Runtime error: unknown: missing",
         "-- Runtime error: unknown: missing", 0},
        {"standard", "a standard exception", "a standard exception", 0},
        {"other", "int 17", "int 17", 0},
    };
    for (const auto& [script, from_file, from_text, noted] : cases) {
        fake_scripts().files["C:\\a.ms"] = script;
        m_noted = 0;
        fake_scripts().closed_files = 0;
        EXPECT_EQ(outcome([] { return execute_maxscript_file("C:\\a.ms"); }), from_file) << script;
        EXPECT_EQ(fake_scripts().closed_files, script == "other" ? 0 : 1) << script;
        EXPECT_EQ(m_noted, noted) << script;
        EXPECT_EQ(outcome([&] { return execute_maxscript_string(script); }), from_text) << script;
        EXPECT_EQ(m_noted, 2 * noted) << script;
    }
    EXPECT_GT(fake_scripts().collected, 0U) << "nothing was ever garbage: the collector does not work";
}

TEST_F(ScriptExecution, FileThatDoesNotOpenIsTheRuntimesError) {
    EXPECT_EQ(outcome([] { return execute_maxscript_file("C:\\none.ms"); }),
              "MAXScriptException: -- Runtime error: the file is not open");
}

TEST_F(ScriptExecution, ResultSurvivesCollectionsUntilTheNextOne) {
    Value* result = execute_maxscript_string("text");
    for (int i = 0; i < 3; ++i)
        static_cast<void>(new String("garbage"));
    EXPECT_STREQ(result->to_string(), "abc");
    EXPECT_EQ(maxscript_value_text(result), "\"abc\"");
}

TEST_F(ScriptExecution, ThreadWithoutABlockGetsOneOrAClearError) {
    std::thread([] {
        fake_scripts().refuses_thread_locals = true;
        const std::string text =
            "quorvel/max3d/maxscript:86 quorvel::max3d::scoped_maxscript_frame::scoped_maxscript_frame() "
            "assert "
            "condition GetLastError() == ERROR_SUCCESS failed: Unable to get the MXS current_locals_frame "
            "for the "
            "current thread.";
        EXPECT_EQ(message_of([] { execute_maxscript_string("yes"); }), text);
        fake_scripts().refuses_thread_locals = false;
        EXPECT_EQ(maxscript_value_text(execute_maxscript_string("yes")), "true");
        EXPECT_EQ(current_locals_frame(), nullptr);
    }).join();
}

TEST_F(ScriptExecution, AssertionNamesThePlaceWithoutItsFolders) {
    assert_condition(true, "c", "m", "f", "1", "g");
    EXPECT_EQ(
        message_of([] { assert_condition(false, "a == b", "No.", "C:\\src\\file.cpp", "12", "ns::f"); }),
        "file.cpp:12 ns::f() assert condition a == b failed: No.");
}

}  // namespace
}  // namespace corrivane::test
