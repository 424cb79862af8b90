#include "maxscript/language/parser.h"

#include "maxscript/language/compiler.h"
#include "maxscript/machine/errors.h"
#include "maxscript/machine/rooted.h"
#include "maxscript/machine/thread_state.h"

#include <max/maxscript/parser.h>

namespace corrivane::host {

CompiledCode* compile_expression(CharStream& source, bool& found) {
    auto* code = new CompiledCode;
    const Rooted root(code);
    Compiler compiler(source, *code);
    found = compiler.compile();
    compiler.give_back();
    return code;
}

Value* run_expression(CharStream& source) {
    const Rooted source_root(&source);
    bool found = false;
    const Rooted code(compile_expression(source, found));
    return found ? code.get()->eval() : nullptr;
}

Value* run_stream(CharStream& source) {
    const Rooted source_root(&source);
    // What a script sets for good holds to its end.
    const ContextScope context(thread_state());
    Rooted code;
    Rooted result;
    for (bool found = true; found;) {
        CompiledCode* compiled = compile_expression(source, found);
        code = compiled;
        if (found) result = compiled->eval();
    }
    return result.get();
}

}  // namespace corrivane::host

Parser::Parser(CharStream* output) : m_output(output) {}

Parser::~Parser() = default;

Value* Parser::compile(CharStream* source) {
    bool found = false;
    try {
        return corrivane::host::compile_expression(*source, found);
    } catch (MAXScriptException& error) {
        if (m_output != nullptr) m_output->puts((corrivane::host::error_description(error) + "\n").c_str());
        throw;
    }
}

const ValueMetaClass& Parser::value_class() const {
    return corrivane::host::Parser_class;
}

void Parser::sprin1(CharStream* stream) {
    stream->puts("<Parser>");
}

void Parser::gc_trace() {
    gc_mark(m_output);
}

// MAXScript hands scripts arguments here; the host's have none.
Value* StringStream::execute_vf(Value** /*arguments*/, int count) {
    if (count != 0) corrivane::host::raise_argument_count("execute", "0", static_cast<std::size_t>(count));
    return corrivane::host::run_stream(*this);
}
