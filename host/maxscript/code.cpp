#include "maxscript/code.h"

#include "maxscript/errors.h"
#include "maxscript/runtime.h"

#include <max/maxscript/streams.h>

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

Value* CompiledCode::eval() {
    return run_unit(m_main, {this}, [](Activation&) {});
}

void CompiledCode::sprin1(CharStream* stream) {
    stream->puts("<CodeBlock>");
}

void CompiledCode::gc_trace() {
    for (Value* constant : m_constants)
        gc_mark(constant);
}

}  // namespace corrivane::host
