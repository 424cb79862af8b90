#pragma once

#include <max/maxscript/streams.h>

/// The MAXScript compiler.
class Parser : public Value {
public:
    /// Messages of the compiler go to `output`.
    explicit Parser(CharStream* output);
    ~Parser() override;

    /// Reads one expression and returns its code, to be run with Value::eval. Throws MAXScriptException where
    /// the text is not MAXScript.
    Value* compile(CharStream* source);

    const ValueMetaClass& value_class() const override;
    void sprin1(CharStream* stream) override;
    void gc_trace() override;

private:
    CharStream* m_output;
};
