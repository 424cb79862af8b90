#include "maxscript/builtins.h"
#include "maxscript/errors.h"
#include "maxscript/functions.h"
#include "maxscript/heap.h"
#include "maxscript/listener.h"
#include "maxscript/operators.h"
#include "maxscript/parser.h"
#include "maxscript/runtime.h"
#include "maxscript/structs.h"
#include "maxscript/values.h"

#include <max/maxscript/streams.h>

#include <array>

namespace corrivane::host {

namespace {

/// Where `to:` sends output; the thread's own output without it.
CharStream& output_of(const Arguments& arguments) {
    Value* given = arguments.keyword("to");
    if (given == nullptr) return *thread_state().locals.current_stdout;
    auto* stream = dynamic_cast<CharStream*>(given);
    if (stream == nullptr)
        raise_type_error(arguments.function() + " to: requires a stream, got: " + excerpt(given));
    return *stream;
}

void put(CharStream& stream, const std::string& text) {
    stream.write(text.data(), text.size());
}

Value* print(Arguments& arguments) {
    arguments.require(1);
    CharStream& output = output_of(arguments);
    arguments[0]->sprin1(&output);
    put(output, "\n");
    return arguments[0];
}

/// `format "% of %\n" a b`: each % is a value, without quotes where it is a string; \% is the sign itself.
Value* format(Arguments& arguments) {
    arguments.require(1, SIZE_MAX);
    CharStream& output = output_of(arguments);
    const std::string pattern = arguments.text(0);
    std::string text;
    std::size_t next = 1;
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        if (pattern[i] == '\\' && i + 1 < pattern.size() && pattern[i + 1] == '%') {
            text += pattern[++i];
        } else if (pattern[i] != '%') {
            text += pattern[i];
        } else if (next < arguments.count()) {
            text += plain_text(arguments[next++]);
        } else {
            raise_runtime_error("format: the string has more % than there are values: \"" + pattern + "\"");
        }
    }
    put(output, text);
    return &ok;
}

Value* string_stream(Arguments& arguments) {
    arguments.require(1);
    const std::string text = arguments.text(0);
    auto* stream = new StringStream;
    put(*stream, text);
    return stream;
}

Value* class_of(Arguments& arguments) {
    arguments.require(1);
    if (auto* instance = value_as<StructInstance>(arguments[0])) return &instance->definition();
    return new ClassValue(arguments[0]->value_class());
}

/// Runs a text in the global scope.
Value* execute(Arguments& arguments) {
    arguments.require(1);
    const std::string text = arguments.text(0);
    auto* stream = new StringStream;
    put(*stream, text);
    const Rooted root(stream);
    Value* result = stream->execute_vf(nullptr, 0);
    return result != nullptr ? result : &ok;
}

/// `throw "message" value`; without arguments, the error that is being handled goes on.
Value* throw_error(Arguments& arguments) {
    arguments.require(0, 2);
    std::vector<CaughtError>& caught = thread_state().caught;
    if (arguments.count() == 0) {
        if (caught.empty()) raise_runtime_error("throw() outside of a catch");
        std::rethrow_exception(caught.back().error);
    }
    std::string message = plain_text(arguments[0]);
    if (arguments.count() == 2) message += ": " + printed_form(arguments[1]);
    raise_runtime_error(message);
}

Value* current_exception(Arguments& arguments) {
    arguments.require(0);
    const std::vector<CaughtError>& caught = thread_state().caught;
    return caught.empty() ? &undefined : make_string(caught.back().description);
}

Value* collect(Arguments& arguments) {
    arguments.require(0);
    collect_garbage();
    return &ok;
}

constexpr std::array classes{&Integer_class,    &Float_class,      &String_class,     &Name_class,
                             &Array_class,      &Boolean_class,    &Undefined_class,  &Ok_class,
                             &FileStream_class, &Function_class,   &Primitive_class,  &StringStream_class,
                             &Interface_class,  &Unsupplied_class, &Dictionary_class, &StructDefinition_class,
                             &Class_class};

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
    define_function("print", print);
    define_function("format", format);
    define_function("stringStream", string_stream);
    define_function("classOf", class_of);
    define_function("execute", execute);
    define_function("throw", throw_error);
    define_function("getCurrentException", current_exception);
    define_function("gc", collect);
}

}  // namespace corrivane::host
