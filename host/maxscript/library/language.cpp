#include "maxscript/library/library.h"
#include "maxscript/machine/functions.h"
#include "maxscript/machine/listener.h"
#include "maxscript/machine/operators.h"
#include "maxscript/machine/references.h"
#include "maxscript/machine/signature.h"
#include "maxscript/machine/stack_check.h"
#include "maxscript/machine/structs.h"

#include <max/maxscript/streams.h>

#include <array>

namespace corrivane::host {

namespace {

using Output = Keyword<"to", CharStream*>;

/// Where `to:` sends output; the thread's own output without it.
CharStream& stream_of(const Output& output) {
    return output ? **output : *thread_state().locals.current_stdout;
}

void put(CharStream& stream, const std::string& text) {
    stream.write(text.data(), text.size());
}

Value* print(Value* value, const Output& output) {
    value->sprin1(&stream_of(output));
    put(stream_of(output), "\n");
    return value;
}

/// `format "% of %\n" a b`: each % is a value, without quotes where it is a string; \% is the sign itself.
void format(const std::string& pattern, Rest values, const Output& output) {
    std::string text;
    std::size_t next = 0;
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        if (pattern[i] == '\\' && i + 1 < pattern.size() && pattern[i + 1] == '%') {
            text += pattern[++i];
        } else if (pattern[i] != '%') {
            text += pattern[i];
        } else if (next < values.size()) {
            text += plain_text(values[next++]);
        } else {
            raise_runtime_error("format: the string has more % than there are values: \"" + pattern + "\"");
        }
    }
    put(stream_of(output), text);
}

Value* string_stream(const std::string& text) {
    auto* stream = new StringStream;
    put(*stream, text);
    return stream;
}

Value* class_of(Value* value) {
    if (auto* instance = value_as<StructInstance>(value)) return &instance->definition();
    const auto* own = dynamic_cast<ScriptValue*>(value);
    return new ClassValue(own != nullptr ? own->shown_class() : value->value_class());
}

/// A value that can be changed without the other's knowing.
Value* copy(Value* value, std::optional<Value*> /*no_map*/) {
    if (value->is(String_class)) return make_string(to_text(value));
    auto* own = dynamic_cast<ScriptValue*>(value);
    return own == nullptr ? value : own->copied();
}

/// The same, for all that an array holds.
Value* deep_copy(Value* value) {
    check_stack(thread_state());
    Value* copied = copy(value, std::nullopt);
    auto* array = value_as<ArrayValue>(copied);
    if (array == nullptr) return copied;
    const Rooted root(array);
    for (std::size_t i = 0; i < array->elements().size(); ++i) {
        Value* element = deep_copy(array->elements()[i]);
        array->elements()[i] = element;
    }
    return array;
}

/// `swap a b`; the compiler hands over references.
void swap(ReferenceValue& one, ReferenceValue& other) {
    const Rooted first(one.get());
    const Rooted second(other.get());
    one.set(second.get());
    other.set(first.get());
}

/// Runs a text in the global scope.
Value* execute(const std::string& text) {
    auto* stream = new StringStream;
    put(*stream, text);
    const Rooted root(stream);
    Value* result = stream->execute_vf(nullptr, 0);
    return result != nullptr ? result : &ok;
}

/// `throw "message" value`; without arguments, the error that is being handled goes on.
[[noreturn]] void throw_error(std::optional<Value*> text, std::optional<Value*> value,
                              const Keyword<"debugBreak", bool>& /*breaks*/) {
    std::vector<CaughtError>& caught = thread_state().caught;
    if (!text) {
        if (caught.empty()) raise_runtime_error("throw() outside of a catch");
        std::rethrow_exception(caught.back().error);
    }
    std::string message = plain_text(*text);
    if (value) message += ": " + printed_form(*value);
    raise_runtime_error(message);
}

std::optional<std::string> current_exception() {
    const std::vector<CaughtError>& caught = thread_state().caught;
    if (caught.empty()) return std::nullopt;
    return caught.back().description;
}

constexpr std::array classes{&Integer_class,    &Float_class,      &String_class,     &Name_class,
                             &Array_class,      &Boolean_class,    &Undefined_class,  &Ok_class,
                             &FileStream_class, &Function_class,   &Primitive_class,  &StringStream_class,
                             &Interface_class,  &Unsupplied_class, &Dictionary_class, &StructDefinition_class,
                             &Class_class,      &Integer64_class,  &Double_class,     &Reference_class};

}  // namespace

void define_language_functions() {
    for (const ValueMetaClass* described : classes)
        define_constant(described->name, new ClassValue(*described));
    for (const auto& [name, value] :
         std::initializer_list<std::pair<const char*, Value*>>{{"true", &true_value},
                                                               {"on", &true_value},
                                                               {"false", &false_value},
                                                               {"off", &false_value},
                                                               {"undefined", &undefined},
                                                               {"ok", &ok},
                                                               {"unsupplied", &unsupplied},
                                                               {"listener", &listener_stream()}})
        define_constant(name, value);
    define_functions({
        {"print", print},
        {"format", format},
        {"stringStream", string_stream},
        {"copy", copy},
        {"deepCopy", deep_copy},
        {"swap", swap},
        {"classOf", class_of},
        {"execute", execute},
        {"throw", throw_error},
        {"getCurrentException", current_exception},
        // What 3ds Max answers when nobody is there to ask.
        {"queryBox", [](Arguments& /*question*/) { return true; }},
        {"yesNoCancelBox", [](Arguments& /*question*/) { return make_name("yes"); }},
        {"gc", collect_garbage},
    });
}

}  // namespace corrivane::host
