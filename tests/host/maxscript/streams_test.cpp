#include "maxscript/machine/thread_state.h"
#include "script_fixture.h"

#include <max/maxscript/maxscript.h>
#include <system/drive_map.h>

namespace corrivane::host {

namespace {

/// Uses the classes as a library does that runs scripts itself.
using StreamsTest = ScriptTest;
CORRIVANE_SCRIPT_TEST(StreamsTest);

/// Runs a stream expression by expression, and gives the printed values with blanks between them.
std::string run_piecewise(CharStream& source) {
    std::string values;
    Rooted code;
    Rooted parser(new Parser(nullptr));
    while (!source.at_eos()) {
        code = static_cast<Parser*>(parser.get())->compile(&source);
        values += printed_form(code->eval()) + " ";
        source.flush_whitespace();
    }
    return values;
}

TEST_P(StreamsTest, RunExpressionByExpression) {
    const std::vector<ScriptCase> cases = {
        {"1\n2\n3", "1 2 3 "},
        {"1; 2 ;; 3 ; \n", "1 2 3 "},
        {"a = 1 -- first\n/* then */ a + 1 /* end */", "1 2 "},
        {"if false then 1\n\n-- no else\n7", "undefined 7 "},
        {"if false then 1\n\nelse 2\n7", "2 7 "},
        {" \n ", "OK "},
        {"", ""},
        {"do 1 while false\nwhile false do 1", "1 undefined "},
    };
    for (const ScriptCase& script_case : cases) {
        auto* stream = new StringStream(script_case.script.c_str());
        const Rooted root(stream);
        EXPECT_EQ(run_piecewise(*stream), script_case.shown) << script_case.script;
    }
}

TEST_P(StreamsTest, FilesThatCannotBeOpenedAreErrorsWhenTheyAreRead) {
    if (drives_are_mapped()) map_drive('C', "/");
    std::vector<std::pair<std::string, std::string>> files = {
        {"/nowhere/a.ms", "No such file or directory"},
        {"Q:\\a.ms",
         drives_are_mapped() ? "no folder of this machine stands for that drive" : "there is no such drive"},
        {"C:\\a?b.ms", "Windows could not store a file of that name"},
        {"", "the name is empty"},
        {"/", "it is not a file"},
        {"/dev/zero", "it is not a file"},
    };
    if (drives_are_mapped())
        files.emplace_back("\\\\server\\share\\a.ms", "no folder of this machine stands for that share");
    for (const auto& [name, reason] : files) {
        auto* file = new FileStream;
        const Rooted root(file);
        EXPECT_EQ(file->open(name.c_str(), "r"), nullptr);
        EXPECT_EQ(description([&] { run_piecewise(*file); }),
                  "-- Runtime error: Unable to open file: " + name + ": " + reason);
        file->close();
    }
    clear_drive_map();
}

TEST_P(StreamsTest, ReadBackAsFarAsTheBeginning) {
    auto* stream = new StringStream("ab\nc");
    const Rooted root(stream);
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(stream->get_char(), 'a');
        EXPECT_EQ(stream->get_char(), 'b');
        EXPECT_EQ(stream->get_char(), '\n');
        EXPECT_EQ(stream->position().line, 2);
        for (int i = 0; i < 5; ++i)
            stream->unget_char();
        EXPECT_EQ(stream->position().line, 1);
    }
}

}  // namespace

}  // namespace corrivane::host
