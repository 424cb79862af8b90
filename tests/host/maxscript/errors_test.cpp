#include "script_fixture.h"

namespace corrivane::host {

namespace {

using ErrorsTest = ScriptTest;
CORRIVANE_SCRIPT_TEST(ErrorsTest);

TEST_P(ErrorsTest, SyntaxErrorsNameWhatIsWrongAndTheLine) {
    expect_errors({
        {"1 +", "-- Syntax error: at the end of the script, expected an expression; line: 1"},
        {"x = 1\n\ny = )", "-- Syntax error: at ), expected an expression; line: 3"},
        {"1 2", "-- Syntax error: at 2, expected the end of the line; line: 1"},
        {"(1\n2", "-- Syntax error: the script ends inside the brackets that open here; line: 1"},
        {"\n\"abc", "-- Syntax error: the script ends inside the string that begins here; line: 2"},
        {"/* a", "-- Syntax error: the script ends inside the /* comment; line: 1"},
        {"if true; 5", "-- Syntax error: at ;, expected then or do behind the condition; line: 1"},
        {"for i 5", "-- Syntax error: at 5, expected = or in behind the loop's variable; line: 1"},
        {"try 5\n6", "-- Syntax error: at end of line, expected catch behind try; line: 1"},
        {"exit", "-- Syntax error: at exit, expected a loop around it; line: 1"},
        {"5 = 6",
         "-- Syntax error: at =, expected the end of the expression: what stands before cannot be "
         "assigned; line: 1"},
        {"99999999999", "-- Syntax error: this number is out of range: 99999999999; line: 1"},
        {"12ab", "-- Syntax error: this is no number: 12a; line: 1"},
        {"a ~ b", "-- Syntax error: unexpected ~; line: 1"},
        {"rollout x \"y\" ()", "-- Syntax error: this host's MAXScript has no rollout; line: 1"},
        {"f a:1 2",
         "-- Syntax error: at 2, expected keyword arguments only, behind the first of them; line: 1"},
        {"struct s (a, b a)", "-- Syntax error: at a, expected ) or , behind the member; line: 1"},
    });
}

TEST_P(ErrorsTest, CompileErrorsConcernNames) {
    expect_errors({
        {"local x", "-- Compile error: No local declarations at top level; line: 1"},
        {"(local x = 5\nfn f = x)",
         "-- Compile error: No outer local variable references permitted here: x; line: 2"},
        {"struct s (a, a)", "-- Compile error: the structure has two members a; line: 1"},
    });
}

TEST_P(ErrorsTest, RunTimeErrorsAreThoseOfMaxScript) {
    expect_errors({
        {"1 / 0", "-- Runtime error: Division by zero; line: 1"},
        {"1.0 / 0", "-- Runtime error: Division by zero; line: 1"},
        {"mod 5 0", "-- Runtime error: Division by zero; line: 1"},
        {"throw \"bad\"", "-- Runtime error: bad; line: 1"},
        {"throw()", "-- Runtime error: throw() outside of a catch; line: 1"},
        {"\"a\" + 1", "-- Unable to convert: 1 to type: String; line: 1"},
        {"1 + \"a\"", "-- Unable to convert: \"a\" to type: Float; line: 1"},
        {"#(1) as float", "-- Unable to convert: #(1) to type: Float; line: 1"},
        {"undefined + 1", "-- No \"\"+\"\" function for undefined; line: 1"},
        {"append 5 1", "-- No \"\"append\"\" function for 5; line: 1"},
        {"undefined.x", "-- Unknown property: \"x\" in undefined; line: 1"},
        {"#(1).x = 5", "-- Unknown property: \"x\" in #(1); line: 1"},
        {"5[1]", "-- No \"\"get\"\" function for 5; line: 1"},
        {"#(1)[0]", "-- Runtime error: array index must be +ve number, got: 0; line: 1"},
        {"#(1)[\"a\"]", "-- Unable to convert: \"a\" to type: Integer; line: 1"},
        {"if 5 then 1", "-- Type error: if-test requires BooleanClass, got: 5; line: 1"},
        {"true and 1", "-- Type error: and requires BooleanClass, got: 1; line: 1"},
        {"for x in 5 do x", "-- Type error: for-loop requires a collection, got: 5; line: 1"},
        {"for i = 1 to 5 by 0 do i", "-- Runtime error: the step of a for loop must not be 0; line: 1"},
        {"x = 5; x 1", "-- Type error: Call needs function or class, got: 5; line: 1"},
        {"nothing()", "-- Type error: Call needs function or class, got: undefined; line: 1"},
        {"fn two a b = a\ntwo 1", "-- Argument count error: two wanted 2, got 1; line: 2"},
        {"two 1 2 c:3", "-- Runtime error: two has no keyword parameter c:; line: 1"},
        {"substring \"a\" 1", "-- Argument count error: substring wanted 3, got 2; line: 1"},
        {"print = 5", "-- Runtime error: Cannot assign to read-only variable: print; line: 1"},
        {"format \"% %\" 1",
         "-- Runtime error: format: the string has more % than there are values: \"% %\"; line: 1"},
    });
}

TEST_P(ErrorsTest, NameTheLineWhereTheyHappened) {
    expect_errors({
        {"a = 1\nb = 2\na / (b - 2)", "-- Runtime error: Division by zero; line: 3"},
        {"fn inner x =\n(\n  local y = x\n  y.missing\n)\nfn outer = (\n\n inner 5)\nouter()",
         "-- Unknown property: \"missing\" in 5; line: 4"},
        {"fn fine = 1\n(\n fine()\n undefined.x\n)", "-- Unknown property: \"x\" in undefined; line: 4"},
        {"format \"%\\n\" \\\n  5 \\\n to:6", "-- Type error: format to: requires a stream, got: 6; line: 1"},
        {"execute \"\\n\\n1/0\"", "-- Runtime error: Division by zero; line: 3"},
    });
}

TEST_P(ErrorsTest, StopAtTheFirstAndKeepWhatWasDone) {
    EXPECT_EQ(error_of("first = 1\nsecond = 2\nthird = (\n"),
              "-- Syntax error: the script ends inside the brackets that open here; line: 3");
    expect_values({{"#(first, second)", "#(1, 2)"}});
}

TEST_P(ErrorsTest, CutLongValuesInMessages) {
    const std::string message = error_of("(for i = 1 to 200 collect i).x");
    EXPECT_LT(message.size(), 300U);
    EXPECT_NE(message.find("#(1, 2, 3"), std::string::npos) << message;
}

}  // namespace

}  // namespace corrivane::host
