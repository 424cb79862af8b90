#include "maxscript/thread_state.h"
#include "script_fixture.h"
#include "support/temporary_folder.h"

#include <max/maxscript/maxscript.h>
#include <system/drive_map.h>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>

namespace corrivane::host {

namespace {

/// Uses the classes as a library does that runs scripts itself.
class StreamsTest : public ScriptTest {
protected:
    std::string path_with(const std::string& text) const {
        std::ofstream(m_folder / "script.ms", std::ios::binary) << text;
        return m_folder / "script.ms";
    }

private:
    const test::TemporaryFolder m_folder;
};
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

std::string description(const std::function<void()>& action) {
    try {
        action();
    } catch (MAXScriptException& error) {
        auto* text = new StringStream;
        const Rooted root(text);
        error.sprin1(text);
        return text->to_string();
    }
    return "no error";
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
        stream->close();
        stream->close();
    }
}

TEST_P(StreamsTest, FilesRunTheirFirstExpressionsBeforeALaterError) {
    auto* file = new FileStream;
    const Rooted root(file);
    const std::string path = path_with("reached = 1\nreached = 2\n(((\n");
    ASSERT_EQ(file->open(path.c_str(), "r"), file);
    EXPECT_EQ(description([&] { run_piecewise(*file); }),
              "-- Syntax error: the script ends inside the brackets that open here; filename: " + path +
                  "; line: 3");
    file->close();
    EXPECT_EQ(value_of("reached"), "2");
}

TEST_P(StreamsTest, FilesThatCannotBeOpenedAreErrorsWhenTheyAreRead) {
    map_drive('C', "/");
    const std::vector<std::pair<std::string, std::string>> files = {
        {"/nowhere/a.ms", "No such file or directory"},
        {"Q:\\a.ms", "no folder of this machine stands for that drive"},
        {"\\\\server\\share\\a.ms", "no folder of this machine stands for that share"},
        {"C:\\a?b.ms", "Windows could not store a file of that name"},
        {"", "the name is empty"},
        {"/", "it is not a file"},
        {"/dev/zero", "it is not a file"},
    };
    for (const auto& [name, reason] : files) {
        auto* file = new FileStream;
        const Rooted root(file);
        EXPECT_EQ(file->open(name.c_str(), "r"), nullptr);
        EXPECT_EQ(description([&] { run_piecewise(*file); }),
                  "-- Runtime error: Unable to open file: " + name + ": " + reason);
        file->close();
        file->close();
    }
    clear_drive_map();
}

TEST_P(StreamsTest, FilesAreWrittenOnSharesThatAreThere) {
    const test::TemporaryFolder network;
    std::filesystem::create_directories(network.path() / "server" / "share");
    map_network(network.path());
    expect_values({
        {"classOf (createFile @\"\\\\server\\share\\a.txt\")", "FileStream"},
        {"createFile @\"\\\\server\\a.txt\"", "undefined"},
        {"createFile @\"\\\\server\\none\\a.txt\"", "undefined"},
    });
    EXPECT_TRUE(std::filesystem::exists(network.path() / "server" / "share" / "a.txt"));
    EXPECT_FALSE(std::filesystem::exists(network.path() / "server" / "a.txt"));
    clear_drive_map();
}

TEST_P(StreamsTest, OnlyPlainFilesAreWritten) {
    const test::TemporaryFolder folder;
    const std::string pipe = folder / "pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const int reader = open(pipe.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    for (const std::string& name : {pipe, std::string("/dev/null"), std::string("/")}) {
        expect_values({{"createFile \"" + name + "\"", "undefined"},
                       {"openFile \"" + name + "\" mode:\"a\"", "undefined"},
                       {"openFile \"" + name + "\"", "undefined"}});
    }
    close(reader);
}

TEST_P(StreamsTest, FilesThatScriptsForgetAreClosed) {
    const test::TemporaryFolder folder;
    expect_values(
        {{"for i = 1 to 2000 do if createFile \"" + folder / "a" + "\" == undefined then throw i", "OK"}});
}

TEST_P(StreamsTest, WhatAFileHasNoRoomForIsAnErrorWhenItIsClosed) {
    const test::TemporaryFolder folder;
    const std::string name = folder / "full";
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const rlimit limit{2, before.rlim_max};
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
    const std::string lost = "-- Runtime error: Unable to write to file: " + name + ": File too large";
    EXPECT_EQ(
        error_of("f = createFile \"" + name + "\"; format \"text\" to:f; close f").substr(0, lost.size()),
        lost);
    expect_values({
        {"close f", "OK"},
        {"f = createFile \"" + name + "\"; format \"text\" to:f; f = undefined; gc()", "OK"},
    });
    auto* file = new FileStream;
    const Rooted root(file);
    ASSERT_EQ(file->open(name.c_str(), "w"), file);
    file->puts("text");
    EXPECT_EQ(description([&] { file->open(name.c_str(), "w"); }), lost);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
    std::signal(SIGXFSZ, handler);
}

TEST_P(StreamsTest, CompilerMessagesGoToTheOutput) {
    Rooted parser(new Parser(thread_state().locals.current_stdout));
    Rooted source(new StringStream("1 + )"));
    EXPECT_THROW(static_cast<Parser*>(parser.get())->compile(static_cast<CharStream*>(source.get())),
                 MAXScriptException);
    EXPECT_EQ(take_listener(), "-- Syntax error: at ), expected an expression; line: 1\n");
}

TEST_P(StreamsTest, ExecuteGivesTheLastValueOrNothing) {
    Rooted stream(new StringStream("1\n\"two\""));
    Rooted result(static_cast<StringStream*>(stream.get())->execute_vf(nullptr, 0));
    EXPECT_STREQ(result->to_string(), "two");
    stream = new StringStream(" -- nothing\n");
    EXPECT_EQ(static_cast<StringStream*>(stream.get())->execute_vf(nullptr, 0), nullptr);
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

TEST_P(StreamsTest, PrintValuesAndTexts) {
    auto* stream = new StringStream;
    const Rooted root(stream);
    stream->printf("%s=%d;", "n", 5);
    stream->printf("%s", std::string(5000, 'x').c_str());
    EXPECT_EQ(std::string(stream->to_string()), "n=5;" + std::string(5000, 'x'));
    Rooted text(new String("a\0b", 3));
    EXPECT_EQ(static_cast<String*>(text.get())->size(), 3U);
    EXPECT_EQ(printed_form(text.get()), std::string("\"a\0b\"", 5));
    EXPECT_TRUE(make_boolean(true)->to_bool());
    EXPECT_EQ(description([] { make_integer(5)->to_bool(); }),
              "-- Unable to convert: 5 to type: BooleanClass");
    EXPECT_EQ(description([] { undefined.to_string(); }), "-- Unable to convert: undefined to type: String");
    EXPECT_EQ(description([] { throw RuntimeError("bad"); }), "-- Runtime error: bad");
}

}  // namespace

}  // namespace corrivane::host
