#include "script_fixture.h"
#include "support/temporary_folder.h"

#include <system/drive_map.h>

#include <fstream>

namespace corrivane::host {

namespace {

using BuiltinsTest = ScriptTest;
CORRIVANE_SCRIPT_TEST(BuiltinsTest);

TEST_P(BuiltinsTest, HandleText) {
    expect_values({
        {"substring \"hello\" 2 3", "\"ell\""},
        {"substring \"hello\" 2 -1", "\"ello\""},
        {"substring \"hello\" 9 1", "\"\""},
        {"findString \"hello\" \"l\"", "3"},
        {"findString \"hello\" \"z\"", "undefined"},
        {"filterString \"a,b;,c\" \",;\"", "#(\"a\", \"b\", \"c\")"},
        {"filterString \"a,,c\" \",\" splitEmptyTokens:true", "#(\"a\", \"\", \"c\")"},
        {"toLower \"AbC\" + toUpper \"dEf\"", "\"abcDEF\""},
        {"trimLeft \"  a \" + \"|\"", "\"a |\""},
        {"trimRight \"a.\" \".\"", "\"a\""},
        {"substituteString \"a-b-c\" \"-\" \"+\"", "\"a+b+c\""},
        {"replace \"12345\" 2 3 \"x\"", "\"1x5\""},
        {"matchPattern \"beauty0001.PNG\" pattern:\"*00?1.png\"", "true"},
        {"matchPattern \"a\" pattern:\"A\" ignoreCase:false", "false"},
        {"getFilenamePath @\"C:\\out\\a.b.png\"", R"("C:\out\")"},
        {"getFilenameFile @\"C:\\out\\a.b.png\"", "\"a.b\""},
        {"getFilenameType @\"C:\\out\\a.b.png\"", "\".png\""},
        {"filenameFromPath @\"C:\\out\\a.b.png\"", "\"a.b.png\""},
    });
}

TEST_P(BuiltinsTest, Calculate) {
    expect_values({
        {"abs -3", "3"},
        {"abs -2.5", "2.5"},
        {"mod 7 3", "1"},
        {"mod -7 3", "-1"},
        {"mod 7.5 2", "1.5"},
        {"sqrt 16", "4.0"},
        {"sin 90", "1.0"},
        {"amin 3 1 2", "1"},
        {"amax #(3, 1, 2)", "3"},
        {"floor 2.7", "2.0"},
        {"(seed 5; r = for i = 1 to 50 collect random 1 3; seed 5; s = for i = 1 to 50 collect random 1 3; "
         "r as string == s as string)",
         "true"},
        {"bad = 0; for i = 1 to 200 do (r = random 3 1; if r < 1 or r > 3 do bad += 1); bad", "0"},
        {"t = timeStamp(); t >= 0 and t < 86400000", "true"},
        {"sleep 0.001", "OK"},
    });
}

TEST_P(BuiltinsTest, ChangeArrays) {
    expect_values({
        {"append #(1) 2", "#(1, 2)"},
        {"a = #(1, 2, 3); deleteItem a 2; a", "#(1, 3)"},
        {"insertItem 9 #(1, 2) 2", "#(1, 9, 2)"},
        {"findItem #(\"a\", #b, 3) #B", "2"},
        {"findItem #(1) 5", "0"},
        {"a = #(1); #(appendIfUnique a 1, appendIfUnique a 2, a)", "#(false, true, #(1, 2))"},
        {"a = #(1); join a a", "#(1, 1)"},
        {"sort #(3, 1.5, 2)", "#(1.5, 2, 3)"},
        {"sort #(\"b\", \"a\")", "#(\"a\", \"b\")"},
        {"fn down a b = b - a\nqsort #(1, 3, 2) down", "#(3, 2, 1)"},
        {"a = #(2, 1); fn wipe x y = (a.count = 0; gc(); x - y)\nqsort a wipe", "#(1, 2)"},
        {"a = #(2, 1, 3); fn fails x y = throw \"no\"\ntry (qsort a fails) catch (); a", "#(2, 1, 3)"},
        {"fn same a b = 0\nqsort #(3, 1, 2, 5, 4) same", "#(3, 1, 2, 5, 4)"},
        {"fn tens a b = a / 10 - b / 10\nqsort #(31, 12, 30, 11, 25, 10) tens", "#(12, 11, 10, 25, 31, 30)"},
    });
}

TEST_P(BuiltinsTest, SortKeepsEveryElementWhateverTheComparisonSays) {
    for (const char* compare : {"random -1 1", "1", "-1", "(gc(); random -1 1)"}) {
        SCOPED_TRACE(compare);
        value_of(std::string("fn mix a b = ") + compare);
        expect_values({
            {"a = for i = 1 to 100 collect (i as string); for i = 1 to 10 do qsort a mix; a.count", "100"},
            {"missing = for i = 1 to 100 where findItem a (i as string) == 0 collect i", "#()"},
        });
    }
    expect_values({
        {"calls = 0; fn fails a b = (calls += 1; if calls == 150 then throw \"no\"; random -1 1)", "fails()"},
        {"b = for i = 1 to 100 collect i; c = b as string; try (qsort b fails) catch (); (b as string) == c",
         "true"},
    });
}

TEST_P(BuiltinsTest, Print) {
    EXPECT_EQ(
        value_of("print \"a\"\nprint #(1, \"b\")\nformat \"% of % is %, 100\\%\\n\" 1 \"two\" #(\"x\")"),
        "OK");
    EXPECT_EQ(take_listener(), "\"a\"\n#(1, \"b\")\n1 of two is #(\"x\"), 100%\n");
    expect_values({
        {"s = stringStream \"\"; format \"a%\\n\" 1 to:s; format \"b\" to:s; s as string", "\"a1\nb\""},
        {"s = stringStream \"one\\ntwo\"; #(readLine s, readLine s, eof s)", "#(\"one\", \"two\", true)"},
        {"s = stringStream \"\"; print 5 to:s; print #a to:s; s as string", "\"5\n#a\n\""},
    });
    EXPECT_EQ(take_listener(), "");
}

TEST_P(BuiltinsTest, ExecuteTextInTheGlobalScope) {
    expect_values({
        {"execute \"1 + 2\"", "3"},
        {"execute \"\"", "OK"},
        {"(local x = 5; execute \"x = 6\"; x)", "5"},
        {"x", "6"},
        {"try (execute \"1 +\") catch (getCurrentException())",
         "\"-- Syntax error: at the end of the script, expected an expression\""},
    });
}

class FileBuiltinsTest : public ScriptTest {
protected:
    FileBuiltinsTest() { map_drive('C', m_folder.path().string()); }
    ~FileBuiltinsTest() override { clear_drive_map(); }

    void write_file(const std::string& name, const std::string& text) const {
        std::ofstream(m_folder / name, std::ios::binary) << text;
    }

private:
    const test::TemporaryFolder m_folder;
};
CORRIVANE_SCRIPT_TEST(FileBuiltinsTest);

TEST_P(FileBuiltinsTest, ReadAndWriteFiles) {
    expect_values({
        {"f = createFile @\"C:\\a.txt\"; format \"one\\n%\\n\" 2 to:f; close f; close f", "OK"},
        {"f = openFile @\"C:\\a.txt\" mode:\"a\"; format \"three\" to:f; close f", "OK"},
        {"f = openFile @\"c:/a.txt\"; lines = #(); while not eof f do append lines (readLine f); close f; "
         "lines",
         "#(\"one\", \"2\", \"three\")"},
        {"f", R"(<File:c:/a.txt>)"},
        {"openFile @\"C:\\missing.txt\"", "undefined"},
        {"openFile @\"C:\\\"", "undefined"},
        {"#(doesFileExist @\"C:\\a.txt\", doesFileExist @\"C:\\b.txt\", doesFileExist @\"X:\\a.txt\")",
         "#(true, false, false)"},
        {"makeDir @\"C:\\sub\\deep\"", "true"},
        {"getDirectories @\"C:\\*\"", R"(#("C:\sub\"))"},
        {"getFiles @\"C:\\*.TXT\"", R"(#("C:\a.txt"))"},
        {"getFiles @\"C:\\nowhere\\*\"", "#()"},
        {"#(deleteFile @\"C:\\a.txt\", deleteFile @\"C:\\a.txt\")", "#(true, false)"},
    });
    expect_errors({
        {"readLine f", "-- Runtime error: The file is closed: c:/a.txt; line: 1"},
        {"f = createFile @\"C:\\b.txt\"; readLine f",
         "-- Runtime error: The file is open for writing: C:\\b.txt; line: 1"},
        {"f = openFile @\"C:\\b.txt\"; readLine f",
         "-- Runtime error: Read beyond end of file: <File:C:\\b.txt>; line: 1"},
        {"f = openFile @\"C:\\b.txt\"; print 1 to:f",
         "-- Runtime error: The file is not open for writing: C:\\b.txt; line: 1"},
    });
}

TEST_P(FileBuiltinsTest, RunScriptFiles) {
    write_file("good.ms",
               "\xEF\xBB\xBF"
               "file_value = 5\r\nif file_value == 5 then \"yes\"\r\nelse \"no\"\r\n\r\n");
    write_file("bad.ms", "x = 1\n\nundefined.y\n");
    write_file("broken.ms", "fn f = \n(\n");
    write_file("empty.ms", "\n-- nothing\n");
    expect_values({{"fileIn @\"C:\\good.ms\"", "\"yes\""}, {"fileIn @\"C:\\empty.ms\"", "OK"}});
    expect_errors({
        {"1\nfileIn @\"C:\\bad.ms\"",
         "-- Unknown property: \"y\" in undefined; filename: C:\\bad.ms; line: 3"},
        {"fileIn @\"C:\\broken.ms\"",
         "-- Syntax error: the script ends inside the brackets that open here; filename: C:\\broken.ms; "
         "line: 2"},
        {"\nfileIn @\"C:\\none.ms\"",
         "-- Runtime error: Unable to open file: C:\\none.ms: No such file or directory; line: 2"},
    });
    EXPECT_EQ(run_file("C:\\good.ms").text, "\"yes\"");
    EXPECT_EQ(run_file("C:\\none.ms").text,
              "-- Runtime error: Unable to open file: C:\\none.ms: No such file or directory");
}

}  // namespace

}  // namespace corrivane::host
