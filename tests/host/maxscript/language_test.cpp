#include "script_fixture.h"

namespace corrivane::host {

namespace {

using LanguageTest = ScriptTest;
CORRIVANE_SCRIPT_TEST(LanguageTest);

TEST_P(LanguageTest, PrintsValuesAsTheListenerDoes) {
    expect_values({
        {"true", "true"},
        {"off", "false"},
        {"undefined", "undefined"},
        {"ok", "OK"},
        {"()", "OK"},
        {"", "OK"},
        {" -- a comment\n /* another\n one */ ;", "OK"},
        {"42", "42"},
        {"3.75", "3.75"},
        {"1.0", "1.0"},
        {"5.", "5.0"},
        {".5", "0.5"},
        {"100 / 3.0", "33.3333"},
        {"1e7", "1e+07"},
        {"1.5E-3", "0.0015"},
        {"0xFF", "255"},
        {"0xffffffff", "-1"},
        {"-0.0", "-0.0"},
        {"\"two\"", "\"two\""},
        {R"("say \"hi\"")", R"("say \"hi\"")"},
        {R"(@"C:\temp\new")", R"("C:\temp\new")"},
        {R"("C:\jobs\\a")", R"("C:\jobs\a")"},
        {R"("\x41\x62")", "\"Ab\""},
        {"#PreRender", "#PreRender"},
        {"#'two words'", "#'two words'"},
        {"#(1, \"two\", #three, #(), undefined)", "#(1, \"two\", #three, #(), undefined)"},
        {"#(\n 1,\n 2\n)", "#(1, 2)"},
        {"fn twice x = x + x", "twice()"},
        {"struct point (x, y = 2)\npoint 1", "(point x:1 y:2)"},
        {"String", "String"},
        {"classOf print", "Primitive"},
    });
}

TEST_P(LanguageTest, Computes) {
    expect_values({
        {"1 + 2 * 3", "7"},
        {"(1 + 2) * 3", "9"},
        {"2 * 3 ^ 2", "18"},
        {"-2 * 3", "-6"},
        {"7 / 2", "3"},
        {"-7 / 2", "-3"},
        {"7 / 2.0", "3.5"},
        {"1 + 0.5", "1.5"},
        {"2147483647 + 1", "-2147483648"},
        {"#(-2147483648, - 2147483648, abs -2147483648)", "#(-2147483648, -2147483648, -2147483648)"},
        {"#(-2147483648 / -1, mod -2147483648 -1, 5 -2147483648)", "#(-2147483648, 0, -2147483643)"},
        {"10 - 2 - 3", "5"},
        {"10 -\n 2", "8"},
        {"10 \\\n - 2", "8"},
        {"2 ^ 10", "1024"},
        {"2.0 ^ 0.5", "1.41421"},
        {"\"a\" + \"b\" + \"c\"", "\"abc\""},
        {"1 < 2 and 2 < 3", "true"},
        {"1 == 1.0", "true"},
        {"\"a\" == \"A\"", "false"},
        {"\"a\" < \"b\"", "true"},
        {"#A == #a", "true"},
        {"1 == \"1\"", "false"},
        {"undefined == undefined", "true"},
        {"#(1) == #(1)", "false"},
        {"not 1 == 2", "true"},
        {"not true or true", "true"},
        {"false and 5 / 0 == 1", "false"},
        {"true or 5 / 0 == 1", "true"},
        {"3 as string + \"x\"", "\"3x\""},
        {"#(1, \"a\") as string", R"x("#(1, \"a\")")x"},
        {"\"12\" as integer", "12"},
        {"\"2.5\" as float", "2.5"},
        {"\"2.9\" as integer", "2"},
        {"\"x\" as integer", "undefined"},
        {"3.9 as integer", "3"},
        {"3 as float", "3.0"},
        {"\"top\" as name", "#top"},
        {"#top as string", "\"top\""},
    });
}

TEST_P(LanguageTest, KeepsVariablesWhereTheyBelong) {
    expect_values({
        {"x = 5\nx += 2\nx *= 3\nx -= 1\nx /= 4\nx", "5"},
        {"X", "5"},
        {"a = b = 7\na + b", "14"},
        {"(local x = 1; x += 1; x)", "2"},
        {"x", "5"},
        {"(inner = 3)\ninner", "undefined"},
        {"(global outer_one = 4)\nouter_one", "4"},
        {"global g1 = 1, g2\n#(g1, g2)", "#(1, undefined)"},
        {"fn setx = (x = 8)\nsetx()\nx", "8"},
        {"fn hidden = (local x = 1; ::x + x)\nhidden()", "9"},
        {"r = #(); for i = 1 to 3 do (local n; if n == undefined do n = i; append r n); r", "#(1, 2, 3)"},
        {"(local a = 1; (local a = 2; a += 1); a)", "1"},
        {"'odd name' = 3; 'odd name'", "3"},
    });
}

TEST_P(LanguageTest, WorksOnArrays) {
    expect_values({
        {"a = #(10, 20); a[2]", "20"},
        {"a[3]", "undefined"},
        {"a[5] = 1; a", "#(10, 20, undefined, undefined, 1)"},
        {"a.count", "5"},
        {"a.count = 1; a", "#(10)"},
        {"a[1] += 5; a", "#(15)"},
        {"b = a; append b 2; a", "#(15, 2)"},
        {"#(#(1, 2), #(3))[1][2]", "2"},
        {"c = #(#(1)); c[1][2] = 5; c", "#(#(1, 5))"},
        {"d = #(1); append d d; d", "#(1, #(...))"},
        {"\"abc\"[2]", "\"b\""},
        {"\"abc\".count", "3"},
    });
}

TEST_P(LanguageTest, Branches) {
    expect_values({
        {"if 1 < 2 then \"yes\" else \"no\"", "\"yes\""},
        {"if 1 > 2 then \"yes\"", "undefined"},
        {"if 1 > 2 do 5", "undefined"},
        {"if false then 1\n\n-- between\nelse 2", "2"},
        {"if false\nthen 1\nelse if true then 2 else 3", "2"},
        {"(if true then\n(\n1\n)\nelse\n(\n2\n)\n)", "1"},
        {"if true then 1\n5", "5"},
        {"case 2 of (1: \"a\"; 2: \"b\"; default: \"c\")", "\"b\""},
        {"case \"z\" of\n(\n \"a\": 1\n default: (\n9)\n \"y\": 2\n)", "9"},
        {"case of (1 > 2: 1; 2 > 1: 2)", "2"},
        {"case #b of (#a: 1)", "undefined"},
    });
}

TEST_P(LanguageTest, Loops) {
    expect_values({
        {"for i = 1 to 5 collect i * i", "#(1, 4, 9, 16, 25)"},
        {"for i = 10 to 1 by -3 collect i", "#(10, 7, 4, 1)"},
        {"for i = 5 to 1 collect i", "#()"},
        {"for i = 0 to 1 by 0.25 collect i", "#(0.0, 0.25, 0.5, 0.75, 1.0)"},
        {"for i = 1.5 to 3 collect i", "#(1.5, 2.5)"},
        {"for i = 2147483646 to 2147483647 collect i", "#(2147483646, 2147483647)"},
        {"for x in #(1, \"a\", #b) where x != 1 collect x", "#(\"a\", #b)"},
        {"for i = 1 to 10 collect (if i == 3 do continue; if i > 5 do exit; i)", "#(1, 2, 4, 5)"},
        {"for i = 1 to 3 do i", "OK"},
        {"n = 0; while n < 10 do n += 3", "12"},
        {"n = 0; do n += 1 while n < 3; n", "3"},
        {"while false do 1", "undefined"},
        {"n = 0; while true do (n += 1; if n > 5 do exit with n * 2)", "12"},
        {"grown = #(1); for x in grown do if grown.count < 4 do append grown (x + 1); grown",
         "#(1, 2, 3, 4)"},
        {"t = 0; for i = 1 to 3 do for j = 1 to 3 do (if j == 2 do exit; t += i); t", "6"},
    });
}

TEST_P(LanguageTest, CallsFunctions) {
    expect_values({
        {"fn add a b = a + b\nadd 1 2", "3"},
        {"add (1) (2)", "3"},
        {"add 1 -2", "-1"},
        {"add 1 2 - 5", "-2"},
        {"fn neg x = -x\nneg -1", "1"},
        {"n = 5; n - 1", "4"},
        {"n-1", "4"},
        {"-neg 4", "4"},
        {"function opt a b:2 c: = #(a, b, c)\nopt 1", "#(1, 2, unsupplied)"},
        {"opt 1 c:-5 b:(add 1 1)", "#(1, 2, -5)"},
        {"fn none = 5\nnone() + none()", "10"},
        {"fn early x = (if x then return 1; 2)\n#(early true, early false)", "#(1, 2)"},
        {"fn inloop = (for i = 1 to 9 do (if i == 4 do return i); 0)\ninloop()", "4"},
        {"fn fact n = if n <= 1 then 1 else n * fact (n - 1)\nfact 10", "3628800"},
        {"(fn local_sum n = if n == 0 then 0 else n + local_sum (n - 1); local_sum 100)", "5050"},
        {"(fn one = 1; fn two = one() + one(); fn four = (fn inner = two() + two(); inner()); four())", "4"},
        {"apply_to = #(fn double x = x * 2)\n(apply_to[1]) 4", "8"},
        {"fn dflt a b:(a * 2) = b\ndflt 4", "8"},
        {"format \"\" to:(stringStream \"\")", "OK"},
        {"print getCurrentException()", "undefined"},
    });
}

TEST_P(LanguageTest, HasStructures) {
    expect_values({
        {"struct job (name, frames = #(), fn add f = (append frames f; size()), fn size = frames.count)\n"
         "j = job \"a\"\nj.add 5\nj.add 7",
         "2"},
        {"j.frames", "#(5, 7)"},
        {"(job name:\"b\").frames", "#()"},
        {"j.name = \"c\"; j.name", "\"c\""},
        {"bound = j.size\nbound()", "2"},
        {"struct tools (fn twice x = x * 2)\ntools.twice 4", "8"},
        {"struct chain (first = 1, second = first + 1, fn both = #(this.first, second))\n(chain()).both()",
         "#(1, 2)"},
        {"struct node (next)\nn = node(); n.next = n; n", "(node next:(node))"},
        {"classOf j == job", "true"},
        {"job", "#Struct:job(\n  name:<data>,\n  frames:<data>,\n  add:<fn>,\n  size:<fn>)"},
    });
}

TEST_P(LanguageTest, CatchesAndThrows) {
    expect_values({
        {"try (throw \"bad\") catch (getCurrentException())", "\"-- Runtime error: bad\""},
        {"try (throw \"bad\" 5) catch (getCurrentException())", "\"-- Runtime error: bad: 5\""},
        {"try (5 / 0) catch (getCurrentException())", "\"-- Runtime error: Division by zero\""},
        {"try 7 catch 8", "7"},
        {"try (undefined.x)\ncatch()", "OK"},
        {"try (try (throw \"a\") catch (throw())) catch (getCurrentException())", "\"-- Runtime error: a\""},
        {"try (try (throw \"a\") catch (throw \"b\")) catch (getCurrentException())",
         "\"-- Runtime error: b\""},
        {"try (throw \"a\") catch (try (throw \"b\") catch (); getCurrentException())",
         "\"-- Runtime error: a\""},
        {"getCurrentException()", "undefined"},
        {"fn risky = try (return 5) catch (return 6)\nrisky()", "5"},
        {"for i = 1 to 3 collect try (if i == 2 do continue; i) catch 0", "#(1, 3)"},
    });
}

}  // namespace

}  // namespace corrivane::host
