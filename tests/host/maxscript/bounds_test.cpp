#include "maxscript/machine/heap.h"
#include "maxscript/machine/thread_state.h"
#include "script_fixture.h"
#include "support/sanitizers.h"

#include <ctime>

namespace corrivane::host {

namespace {

class BoundsTest : public ScriptTest {
protected:
    void SetUp() override {
        if (under_tsan) GTEST_SKIP() << "ThreadSanitizer's own stack of calls is full before the real one";
    }
};
// A collection at every allocation would make these last for minutes and show nothing more.
INSTANTIATE_TEST_SUITE_P(Heap, BoundsTest, testing::Values(false), collection_mode);

std::string repeated(const std::string& text, std::size_t count) {
    std::string result;
    for (std::size_t i = 0; i < count; ++i)
        result += text;
    return result;
}

TEST_P(BoundsTest, NestingEndsInAnErrorAndNotInAFault) {
    for (const char* opening : {"(",
                                "#(",
                                "- ",
                                "not ",
                                "f (",
                                "a[",
                                "if ",
                                "fn f = ",
                                "x = ",
                                "try ",
                                "for i in ",
                                "struct s (a = ",
                                "case (",
                                "while ",
                                "do ",
                                "return ",
                                "a.b ",
                                "&",
                                "*",
                                "[",
                                "#{",
                                "f [",
                                "undo off ",
                                "rollout r \"\" (",
                                "rollout r (",
                                "group \"\" (",
                                "macroScript m (on a b do ",
                                "plugin a b (parameters p ("}) {
        const ScriptResult result = run_text(repeated(opening, 20000));
        EXPECT_FALSE(result.succeeded) << opening;
        EXPECT_EQ(thread_state().locals.current_locals_frame, nullptr);
    }
    EXPECT_EQ(value_of(repeated("(", 300) + "5" + repeated(")", 300)), "5");
    EXPECT_EQ(value_of(repeated("if false then 1 else ", 300) + "2"), "2");
}

TEST_P(BoundsTest, LongChainsOfOperatorsAreNoNesting) {
    EXPECT_EQ(value_of("1" + repeated(" + 1", 50000)), "50001");
    EXPECT_EQ(value_of("true" + repeated(" and true", 50000)), "true");
    EXPECT_EQ(value_of("\"\"" + repeated(" + \"\"", 20000)), "\"\"");
    EXPECT_NE(error_of("a = undefined; a" + repeated(".b", 50000)).find("-- "), std::string::npos);
    EXPECT_EQ(error_of("print " + repeated("1 ", 50000)),
              "-- Compile error: too many arguments, or expressions nested too deeply; line: 1");
    EXPECT_EQ(error_of("(" + repeated("local a\n", 10000) + ")").substr(0, 64),
              "-- Compile error: too many local variables in one function; line");
}

TEST_P(BoundsTest, LargeScriptsTakeTimeInProportion) {
    const auto time_of = [&](const std::string& script) {
        // The processor's time, which does not depend on what else the machine does.
        const std::clock_t start = std::clock();
        run_text(script);
        return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
    };
    const std::vector<std::string> lines = {
        "x = 1 + 2\n", "if x == 1 then 2\n\n", "-- a comment\n", "\n\n\n\n", "x;", "fn f a = a\n"};
    for (const std::string& line : lines) {
        const std::size_t count = (std::size_t{1} << 15) / line.size();
        const double small = time_of(repeated(line, count));
        const double large = time_of(repeated(line, count * 8));
        // A quadratic reader would take 64 times as long.
        EXPECT_LT(large, small * 30 + 0.2) << line;
    }
    std::string innermost = "shared + 1";
    for (int i = 0; i < 60; ++i)
        innermost = "(fn inner = " + innermost + "\ninner())";
    EXPECT_EQ(value_of("(global shared = 4\n" + innermost + ")"), "5");
    const std::string numbers = "#(" + repeated("1,", 100000) + "1)";
    EXPECT_EQ(value_of("big = " + numbers + "\nbig.count"), "100001");
    EXPECT_EQ(value_of("\"" + std::string(8000000, 'x') + "\".count"), "8000000");
}

TEST_P(BoundsTest, EndlessRecursionIsAnError) {
    expect({
        {"fn down = down()\ndown()",
         "-- Runtime error: stack overflow: calls are nested too deeply; line: 1"},
        {"text = \"execute text\"\nexecute text",
         "-- Runtime error: stack overflow: calls are nested too deeply; line: 1"},
        {"struct s (a = s())\ns()", "-- Runtime error: stack overflow: calls are nested too deeply; line: 1"},
        {"fn endless = endless()\ntry (endless()) catch (getCurrentException())",
         "\"-- Runtime error: stack overflow: calls are nested too deeply\""},
        {"fn deep n = if n == 0 then 0 else 1 + deep (n - 1)\ndeep 1000", "1000"},
    });
}

TEST_P(BoundsTest, StepLimitEndsWhatScriptsCannotCatch) {
    const std::string used_up = "-- Runtime error: the script has used up its steps; line: 1";
    for (const char* script : {"while true do ()", "fn again = try (again()) catch (again())\nagain()",
                               "while true do (try (while true do ()) catch ())"}) {
        set_step_limit(1000);
        EXPECT_EQ(error_of(script), used_up);
    }
    set_step_limit(0);
    EXPECT_EQ(value_of("for i = 1 to 2000 do i"), "OK");
}

}  // namespace

}  // namespace corrivane::host
