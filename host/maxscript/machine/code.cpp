#include "maxscript/machine/code.h"

#include <max/maxscript/streams.h>

namespace corrivane::host {

Value* CompiledCode::eval() {
    const ScriptRuns runs(true);
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
