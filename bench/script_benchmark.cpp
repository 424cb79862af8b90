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

BENCHMARK(additions)->Name("script/additions")->Unit(benchmark::kMillisecond);
BENCHMARK(published_calls)->Name("script/published_calls")->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
