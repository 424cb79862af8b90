#include "maxscript/machine/steps.h"

#include "maxscript/machine/errors.h"

namespace corrivane::host {

namespace {

std::uint64_t g_step_limit = 0;
std::uint64_t g_steps = 0;

}  // namespace

void set_step_limit(std::uint64_t steps) {
    g_step_limit = steps;
    g_steps = 0;
}

void count_step() {
    if (g_step_limit == 0 || ++g_steps <= g_step_limit) return;
    throw StepLimitReached("-- Runtime error: the script has used up its steps", thread_state().place);
}

}  // namespace corrivane::host
