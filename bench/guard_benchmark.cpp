#include "images/image_module.h"
#include "render/job_state.h"
#include "support/guarded_call.h"
#include "support/log.h"

#include <benchmark/benchmark.h>

#include <algorithm>

log_stream connect_log;

namespace {

JobState& job() {
    static JobState state;
    return state;
}

void outermost_guard(benchmark::State& state) {
    int calls = 0;
    auto call = [&calls] { benchmark::DoNotOptimize(++calls); };
    for (auto round : state)
        benchmark::DoNotOptimize(guarded_call(job(), call));
}

void nested_guard(benchmark::State& state) {
    auto outer = [&state] { outermost_guard(state); };
    guarded_call(job(), outer);
}

/// Faults under more frames than a report holds.
[[gnu::noinline]] int fault_below(int frames) {
    if (frames > 0) return fault_below(frames - 1) + 1;
    const volatile int* nowhere = nullptr;
    benchmark::DoNotOptimize(nowhere);
    return *nowhere;
}

/// Each entry of the call stack has one line with the module's base and one with the offset.
long reported_frames(const std::string& report) {
    return std::count(report.begin() + static_cast<std::ptrdiff_t>(report.find("Call Stack:")), report.end(),
                      '+');
}

void trapped_fault(benchmark::State& state) {
    // A host that has saved an image has some 260 libraries to look an address up in.
    corrivane::image_module();
    int depth = 40;
    auto call = [&depth] { benchmark::DoNotOptimize(fault_below(depth)); };
    for (auto round : state)
        benchmark::DoNotOptimize(guarded_call(job(), call));
    if (reported_frames(job().GetLastExceptionReport()) != 20) state.SkipWithError("the report is not full");
}

BENCHMARK(outermost_guard)->Name("guard/outermost");
BENCHMARK(nested_guard)->Name("guard/nested");
BENCHMARK(trapped_fault)->Name("guard/trapped_fault")->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
