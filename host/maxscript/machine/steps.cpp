#include "maxscript/machine/steps.h"

#include "maxscript/machine/errors.h"
#include "os/end_requests.h"

#include <atomic>

namespace corrivane::host {

namespace {

std::uint64_t g_step_limit = 0;
std::uint64_t g_steps = 0;
std::atomic<bool> g_stopped = false;
std::atomic<bool> g_runs = false;
/// Whether a step has anything to look at.
std::atomic<bool> g_watched = false;
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler sets them");

}  // namespace

void set_step_limit(std::uint64_t steps) {
    g_step_limit = steps;
    g_steps = 0;
    g_watched = steps != 0 || g_stopped;
}

void count_step() {
    if (!g_watched.load(std::memory_order_relaxed)) return;
    if (g_stopped) throw ScriptStopped("-- Runtime error: the script has been stopped", thread_state().place);
    if (g_step_limit == 0 || ++g_steps <= g_step_limit) return;
    throw ScriptStopped("-- Runtime error: the script has used up its steps", thread_state().place);
}

void stop_scripts() {
    g_stopped = true;
    g_watched = true;
    set_stop_event();
}

bool scripts_are_stopped() {
    return g_stopped;
}

bool script_runs() {
    return g_runs;
}

ScriptRuns::ScriptRuns(bool runs) : m_before(g_runs.exchange(runs)) {}

ScriptRuns::~ScriptRuns() {
    g_runs = m_before;
}

void wait_seconds(double seconds) {
    wait_for_stop_event(seconds);
    count_step();
}

}  // namespace corrivane::host
