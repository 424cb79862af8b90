#include "app/plugin_library.h"
#include "maxscript/runtime.h"

#include <benchmark/benchmark.h>

namespace {

using namespace corrivane::host;

/// A started runtime with the product loaded.
void start_runtime() {
    static const MaxScriptRuntime runtime(RuntimeOptions{.listener_to_stdout = false});
    static const PluginLibrary library(default_library());
}

void run_script(benchmark::State& state, const std::string& script, const std::string& result) {
    start_runtime();
    for (auto round : state) {
        const ScriptResult run = run_text(script);
        if (!run.succeeded || run.text != result) state.SkipWithError(run.text.c_str());
    }
}

void additions(benchmark::State& state) {
    run_script(state, "(local sum = 0; for i = 1 to 1000000 do sum = sum + 1; sum)", "1000000");
}

void published_calls(benchmark::State& state) {
    run_script(state, "(local all = true; for i = 1 to 100000 do all = QuillaneUtil.SetProgress 50.0; all)",
               "true");
}

/// A script of so many lines as a library has them: functions, loops, calls, texts. In brackets, since other
/// benchmarks would have to collect past globals.
std::string library_of(long lines) {
    static const std::string chunk =
        "(   -- pads a number\n"
        "fn padded number digits:4 = (\n"
        "    local text = number as string\n"
        "    while text.count < digits do text = \"0\" + text\n"
        "    for i = 1 to text.count where text[i] == \"0\" and (mod i 2) != 0 do\n"
        "        format \"% of %\\n\" i (text.count * 1.5) to:(stringStream \"\")\n"
        "    if text.count > digits then text else substring text 1 -1\n"
        "))\n";
    std::string script;
    for (long line = 0; line < lines; line += 8)
        script += chunk;
    return script;
}

void compiling(benchmark::State& state) {
    start_runtime();
    const std::string script = library_of(state.range(0));
    for (auto round : state) {
        auto* stream = new StringStream(script.c_str());
        const Rooted root(stream);
        if (!check_syntax(*stream).empty()) state.SkipWithError("the script does not compile");
    }
}

BENCHMARK(compiling)->Name("script/compiling")->Arg(10000)->Arg(250000)->Unit(benchmark::kMillisecond);
BENCHMARK(additions)->Name("script/additions")->Unit(benchmark::kMillisecond);
BENCHMARK(published_calls)->Name("script/published_calls")->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
