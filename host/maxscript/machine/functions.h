#pragma once

#include "maxscript/machine/code.h"
#include "maxscript/machine/define.h"
#include "maxscript/machine/script_value.h"
#include "maxscript/machine/values.h"

#include <string>
#include <vector>

namespace corrivane::host {

class Target;

/// A function as it is written: what the compiler knows of it. Its parameters are its first locals, the
/// positional ones first.
struct FunctionText {
    struct Keyword {
        std::string name;
        /// Null for a parameter without a default.
        const Node* default_value;
    };
    /// A local variable of the code around it that the function uses: shared when the function is made.
    struct Capture {
        /// The variable there.
        const Target* source;
    };

    std::string name;
    /// Called on a collection, it is called on each of its elements.
    bool is_mapped = false;
    std::size_t positional_count = 0;
    std::vector<Keyword> keywords;
    std::vector<Capture> captures;
    CodeUnit unit;
};

/// A function that a script defines.
class ScriptFunction final : public ScriptValue {
public:
    static constexpr const ValueMetaClass& metaclass = Function_class;

    /// `code` owns `text`.
    ScriptFunction(CompiledCode* code, const FunctionText* text) : m_code(code), m_text(text) {}

    const FunctionText& text() const { return *m_text; }
    /// Keeps what the function uses of the code around it, which is running. The function is rooted meanwhile.
    void capture(Activation& activation);
    Value* captured(std::size_t number) const { return m_captured[number]; }

    /// Runs the function on a structure; null for none.
    Value* call_on(Value* self, Arguments& arguments);

    const ValueMetaClass& value_class() const override { return metaclass; }
    void sprin1(CharStream* stream) override;
    void gc_trace() override;
    Value* call(Arguments& arguments) override { return call_on(nullptr, arguments); }

private:
    void check_arguments(const Arguments& arguments) const;
    void bind(Activation& activation, const Arguments& arguments);

    CompiledCode* m_code;
    const FunctionText* m_text;
    std::vector<Value*> m_captured;
};

/// A member function together with the structure that it was asked of.
class BoundFunction final : public ScriptValue {
public:
    static constexpr const ValueMetaClass& metaclass = BoundFunction_class;

    BoundFunction(ScriptFunction* function, Value* self) : m_function(function), m_self(self) {}

    const ValueMetaClass& value_class() const override { return metaclass; }
    void sprin1(CharStream* stream) override { m_function->sprin1(stream); }
    void gc_trace() override;
    Value* call(Arguments& arguments) override { return m_function->call_on(m_self, arguments); }

private:
    ScriptFunction* m_function;
    Value* m_self;
};

/// A function of the host.
class PrimitiveFunction final : public ScriptValue {
public:
    static constexpr const ValueMetaClass& metaclass = Primitive_class;

    PrimitiveFunction(std::string name, HostFunction function)
        : m_name(std::move(name)), m_function(std::move(function)) {}

    const ValueMetaClass& value_class() const override { return metaclass; }
    void sprin1(CharStream* stream) override;
    /// Errors that the function throws without a place get the place of the call.
    Value* call(Arguments& arguments) override;

private:
    std::string m_name;
    HostFunction m_function;
};

/// Calls a mapped function for each element of its first argument; gives `ok`.
Value* call_mapped(ScriptValue& collection, const std::function<void(Arguments&)>& call,
                   Arguments& arguments);

/// Calls any value; a MAXScript error when it is nothing that can be called. The callee is rooted by
/// the caller.
Value* call_value(Value* callee, Arguments& arguments);

}  // namespace corrivane::host
