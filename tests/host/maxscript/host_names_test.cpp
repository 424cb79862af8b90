#include "script_fixture.h"
#include "support/temporary_folder.h"

#include <max/exceptions.h>

namespace corrivane::host {

namespace {

using HostNamesTest = ScriptTest;
CORRIVANE_SCRIPT_TEST(HostNamesTest);

TEST_P(HostNamesTest, FunctionsReachTheHost) {
    define_function("standin.note", [](Arguments& arguments) {
        arguments.require(1, 4);
        std::string text = arguments.text(0);
        if (arguments.count() > 1) text += std::to_string(arguments.integer(1));
        if (arguments.count() > 2) text += std::to_string(static_cast<int>(arguments.number(2) * 10));
        if (arguments.count() > 3) text += arguments.boolean(3) ? "t" : "f";
        if (Value* extra = arguments.keyword("extra")) text += to_text(extra);
        return make_string(text);
    });
    define_function("fails", [](Arguments&) -> Value* { throw std::runtime_error("no such thing"); });
    define_function("raises", [](Arguments&) -> Value* { throw RuntimeError("raised"); });
    define_function("failsAsMax", [](Arguments&) -> Value* { throw MAXException("disk gone"); });
    define_function("failsSomehow", [](Arguments&) -> Value* { throw 5; });
    expect({
        {"standin.note \"a\"", "\"a\""},
        {"Standin.Note #b 2 1.5 false extra:\"x\"", "\"b215fx\""},
        {"standin.note()", "-- Argument count error: standin.note wanted 1 to 4, got 0; line: 1"},
        {"standin.note 5", "-- Unable to convert: 5 to type: String; line: 1"},
        {"standin.note \"a\" #b", "-- Unable to convert: #b to type: Integer; line: 1"},
        {"standin.missing 1", "-- Unknown property: \"missing\" in #Struct:standin; line: 1"},
        {"standin.note = 1", "-- Runtime error: Cannot assign to read-only variable: note; line: 1"},
        {"\nfails()", "-- Runtime error: no such thing; line: 2"},
        {"\n\nraises()", "-- Runtime error: raised; line: 3"},
    });
    EXPECT_EQ(error_of("try (failsAsMax()) catch (1)"), "MAXException: disk gone");
    EXPECT_EQ(error_of("for i = 1 to 3 do failsSomehow()"), "an unknown exception");
}

TEST_P(HostNamesTest, VariablesAreComputed) {
    int width = 640;
    define_variable(
        "renderWidth", [&] { return make_integer(width); }, [&](Value* value) { width = to_integer(value); });
    define_variable("maxOps.version", [] { return make_float(9.5F); });
    define_variable(
        "badCamera", []() -> Value* { throw RuntimeError("no camera"); },
        [](Value*) { throw std::invalid_argument("not writable"); });
    expect({
        {"1\nbadCamera", "-- Runtime error: no camera; line: 2"},
        {"1\n\nbadCamera = 5", "-- Runtime error: not writable; line: 3"},
        {"renderWidth *= 2; renderWidth", "1280"},
        {"fn w = renderwidth + 1\nw()", "1281"},
        {"maxOps.version", "9.5"},
        {"renderWidth = \"x\"", "-- Unable to convert: \"x\" to type: Integer; line: 1"},
        {"maxOps.version = 1", "-- Runtime error: Cannot assign to read-only variable: version; line: 1"},
    });
    EXPECT_EQ(width, 1280);
}

TEST_P(HostNamesTest, ValuesComeFromTheHost) {
    Rooted arguments(make_dictionary());
    set_in_dictionary(arguments.get(), "port", make_string("7000"));
    set_in_dictionary(arguments.get(), "count", make_integer(3));
    define_constant("maxOps.mxsCmdLineArgs", arguments.get());
    Rooted names(make_array({"a", "b"}));
    append_to_array(names.get(), make_name("c"));
    define_constant("nodeNames", names.get());
    expect({
        {"a = maxOps.mxsCmdLineArgs; #(a[#port], a[\"COUNT\"] + 1, a[#other])", "#(\"7000\", 4, undefined)"},
        {"#(a.keys, nodeNames)", "#(#(#port, #count), #(\"a\", \"b\", #c))"},
    });
}

TEST_P(HostNamesTest, CallbacksRunInOrder) {
    value_of(
        "seen = #()\n"
        "callbacks.addScript #preRenderFrame \"append seen 1\" id:#one\n"
        "callbacks.addScript #postRenderFrame \"append seen 9\" id:#one\n"
        "callbacks.addScript #preRenderFrame \"append seen 2; callbacks.removeScripts id:#two\" id:#two");
    run_callbacks("preRenderFrame");
    run_callbacks("PostRenderFrame");
    run_callbacks("preRenderFrame");
    EXPECT_EQ(value_of("seen"), "#(1, 2, 9, 1)");
    value_of("callbacks.removeScripts #preRenderFrame id:#one");
    run_callbacks("preRenderFrame");
    EXPECT_EQ(value_of("seen"), "#(1, 2, 9, 1)");
}

TEST_P(HostNamesTest, ErrorsInCallbacksReachTheCaller) {
    value_of(
        "ran = 0\ncallbacks.addScript #preRenderFrame \"throw \\\"stop\\\"\"\n"
        "callbacks.addScript #preRenderFrame \"ran += 1\"");
    EXPECT_EQ(description([] { run_callbacks("preRenderFrame"); }), "-- Runtime error: stop; line: 1");
    EXPECT_EQ(value_of("ran"), "0");
    // A callback that runs inside a function of a script, and runs callbacks itself.
    define_function("renderNow", [](Arguments&) -> Value* {
        run_callbacks("postRenderFrame");
        return &ok;
    });
    value_of("depth = 0\ncallbacks.addScript #postRenderFrame \"depth += 1; if depth < 5 do renderNow()\"");
    EXPECT_EQ(value_of("renderNow(); depth"), "5");
}

TEST(RuntimeTest, LogsTheListenerAndForgetsEverythingWhenItEnds) {
    const test::TemporaryFolder folder;
    {
        const MaxScriptRuntime runtime({.listener_log = folder / "log", .listener_to_stdout = false});
        EXPECT_EQ(run_text("remembered = 5; print \"logged\"").text, "\"logged\"");
    }
    EXPECT_EQ(test::read_file(folder / "log"), "\"logged\"\n");
    const MaxScriptRuntime runtime({.listener_to_stdout = false, .file_access = false});
    EXPECT_EQ(run_text("remembered").text, "undefined");
    EXPECT_EQ(run_text("getFiles \"*\"").text, "-- Runtime error: scripts may not use files here; line: 1");
    EXPECT_EQ(run_text("fileIn \"a.ms\"").text, "-- Runtime error: scripts may not use files here; line: 1");
    EXPECT_THROW(MaxScriptRuntime(RuntimeOptions{}), std::logic_error);
}

}  // namespace

}  // namespace corrivane::host
