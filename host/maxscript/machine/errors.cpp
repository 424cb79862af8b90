#include "maxscript/machine/errors.h"

#include "maxscript/machine/text_sink.h"

#include <max/maxscript/streams.h>

#include <utility>

namespace corrivane::host {

namespace {

constexpr std::size_t longest_excerpt = 200;

[[noreturn]] void raise(const std::string& description) {
    throw ScriptError(description, thread_state().place);
}

}  // namespace

void ScriptError::sprin1(CharStream* stream) {
    std::string text = m_description;
    if (m_place.file != nullptr) {
        if (!m_place.file->empty()) text += "; filename: " + *m_place.file;
        text += "; line: " + std::to_string(m_place.line);
    }
    stream->write(text.data(), text.size());
}

void raise_runtime_error(const std::string& message) {
    raise("-- Runtime error: " + message);
}

void raise_type_error(const std::string& message) {
    raise("-- Type error: " + message);
}

void raise_syntax_error(const std::string& message, const ScriptPlace& place) {
    throw ScriptError("-- Syntax error: " + message, place);
}

void raise_compile_error(const std::string& message, const ScriptPlace& place) {
    throw ScriptError("-- Compile error: " + message, place);
}

void raise_conversion_error(Value* value, const std::string& type) {
    raise("-- Unable to convert: " + excerpt(value) + " to type: " + type);
}

void raise_no_function(const std::string& function, Value* value) {
    raise("-- No \"\"" + function + "\"\" function for " + excerpt(value));
}

void raise_unknown_property(const std::string& name, Value* value) {
    raise("-- Unknown property: \"" + name + "\" in " + excerpt(value));
}

void raise_argument_count(const std::string& function, const std::string& wanted, std::size_t got) {
    raise("-- Argument count error: " + function + " wanted " + wanted + ", got " + std::to_string(got));
}

void raise_absent(const std::string& what) {
    raise_runtime_error("this host has no " + what);
}

std::string exception_text(MAXScriptException& error) {
    if (const auto* script_error = dynamic_cast<ScriptError*>(&error)) return script_error->description();
    TextSink sink;
    error.sprin1(&sink);
    return sink.text();
}

std::string error_description(MAXScriptException& error) {
    TextSink sink;
    error.sprin1(&sink);
    return sink.text();
}

std::string excerpt(Value* value) {
    TextSink sink(longest_excerpt);
    try {
        value->sprin1(&sink);
    } catch (const TextSink::Full&) {
        return sink.text().substr(0, longest_excerpt) + "...";
    }
    return sink.text();
}

}  // namespace corrivane::host
