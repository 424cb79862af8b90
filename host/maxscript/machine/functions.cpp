#include "maxscript/machine/functions.h"

#include "maxscript/machine/errors.h"
#include "maxscript/machine/expressions.h"
#include "maxscript/machine/rooted.h"

#include <max/maxscript/streams.h>

#include <algorithm>

namespace corrivane::host {

namespace {

Value* default_of(const FunctionText::Keyword& keyword, Activation& activation) {
    if (keyword.default_value == nullptr) return &unsupplied;
    Value* value = evaluate(keyword.default_value, activation);
    if (value != nullptr) return value;
    // A return in a default ends the default, not the function.
    activation.flow = Flow::none;
    return activation.carried;
}

}  // namespace

void ScriptFunction::capture(Activation& activation) {
    for (const FunctionText::Capture& capture : m_text->captures)
        m_captured.push_back(capture.source->make_reference(activation));
}

void ScriptFunction::check_arguments(const Arguments& arguments) const {
    if (arguments.count() != m_text->positional_count)
        raise_argument_count(m_text->name, std::to_string(m_text->positional_count), arguments.count());
    for (std::size_t i = 0; i < arguments.keyword_count(); ++i) {
        const std::string& name = *arguments.keywords()[i].name;
        const bool known = std::any_of(m_text->keywords.begin(), m_text->keywords.end(),
                                       [&](const auto& keyword) { return keyword.name == name; });
        if (!known) raise_runtime_error(m_text->name + " has no keyword parameter " + name + ":");
    }
}

void ScriptFunction::bind(Activation& activation, const Arguments& arguments) {
    for (std::size_t i = 0; i < arguments.count(); ++i)
        activation.locals[i] = arguments[i];
    std::size_t local = arguments.count();
    for (const FunctionText::Keyword& keyword : m_text->keywords) {
        Value* given = arguments.keyword(keyword.name);
        if (given == nullptr) given = default_of(keyword, activation);
        activation.locals[local++] = given;
    }
}

Value* ScriptFunction::call_on(Value* self, Arguments& arguments) {
    count_step();
    auto* collection = arguments.count() == 0 ? nullptr : dynamic_cast<ScriptValue*>(arguments[0]);
    if (m_text->is_mapped && collection != nullptr && collection->is_collection())
        return call_mapped(
            *collection, [&](Arguments& mapped) { call_on(self, mapped); }, arguments);
    check_arguments(arguments);
    return run_unit(m_text->unit, {this, self}, [&](Activation& activation) { bind(activation, arguments); });
}

Value* call_mapped(ScriptValue& collection, const std::function<void(Arguments&)>& call,
                   Arguments& arguments) {
    auto* values = new ArrayValue;
    const Rooted root(values);
    values->append(&undefined);
    for (std::size_t i = 1; i < arguments.count(); ++i)
        values->append(arguments[i]);
    for (std::size_t i = 0; Value* element = collection.collection_element(i); ++i) {
        values->elements()[0] = element;
        Arguments mapped(arguments.function(), values->elements().data(), arguments.count(),
                         arguments.keywords(), arguments.keyword_count());
        call(mapped);
    }
    return &ok;
}

void ScriptFunction::sprin1(CharStream* stream) {
    stream->puts((m_text->name + "()").c_str());
}

void ScriptFunction::gc_trace() {
    gc_mark(m_code);
    for (Value* value : m_captured)
        gc_mark(value);
}

void BoundFunction::gc_trace() {
    gc_mark(m_function);
    gc_mark(m_self);
}

void PrimitiveFunction::sprin1(CharStream* stream) {
    stream->puts((m_name + "()").c_str());
}

Value* PrimitiveFunction::call(Arguments& arguments) {
    count_step();
    return call_host([&] { return m_function(arguments); });
}

Value* call_value(Value* callee, Arguments& arguments) {
    if (auto* function = value_as<ScriptFunction>(callee)) return function->call(arguments);
    auto* value = dynamic_cast<ScriptValue*>(callee);
    if (value == nullptr) raise_type_error("Call needs function or class, got: " + excerpt(callee));
    return value->call(arguments);
}

}  // namespace corrivane::host
