#pragma once

#include "maxscript/machine/thread_state.h"

#include <max/maxscript/exceptions.h>

#include <cstddef>
#include <new>
#include <string>

class Value;

namespace corrivane::host {

/// An error that the runtime or a script raises. It prints its description, and where it happened:
/// `-- Runtime error: Division by zero; filename: C:\jobs\a.ms; line: 3`.
class ScriptError : public MAXScriptException {
public:
    ScriptError(std::string description, const ScriptPlace& place)
        : m_description(std::move(description)), m_place(place) {}

    void sprin1(CharStream* stream) override;
    /// Without the place.
    const std::string& description() const { return m_description; }
    const ScriptPlace& place() const { return m_place; }

private:
    std::string m_description;
    ScriptPlace m_place;
};

/// The end of a script that has used up its steps or was told to stop; no script catches it.
class ScriptStopped : public ScriptError {
public:
    using ScriptError::ScriptError;
};

/// `-- Runtime error: <message>`, at the place where script is being run.
[[noreturn]] void raise_runtime_error(const std::string& message);
/// `-- Type error: <message>`.
[[noreturn]] void raise_type_error(const std::string& message);
/// `-- Syntax error: <message>`, at a place in a script that is being compiled.
[[noreturn]] void raise_syntax_error(const std::string& message, const ScriptPlace& place);
/// `-- Compile error: <message>`: the script is MAXScript, but breaks a rule about names.
[[noreturn]] void raise_compile_error(const std::string& message, const ScriptPlace& place);
/// `-- Unable to convert: <value> to type: <type>`.
[[noreturn]] void raise_conversion_error(Value* value, const std::string& type);
/// `-- No ""<function>"" function for <value>`.
[[noreturn]] void raise_no_function(const std::string& function, Value* value);
/// `-- Unknown property: "<name>" in <value>`.
[[noreturn]] void raise_unknown_property(const std::string& name, Value* value);
/// `-- Argument count error: <function> wanted <wanted>, got <got>`.
[[noreturn]] void raise_argument_count(const std::string& function, const std::string& wanted,
                                       std::size_t got);

/// `-- Runtime error: this host has no <what>`: 3ds Max has it.
[[noreturn]] void raise_absent(const std::string& what);

/// What getCurrentException() gives for an error: its description without the place.
std::string exception_text(MAXScriptException& error);

/// The printed description of an error, with the line (and the file) where there is one.
std::string error_description(MAXScriptException& error);

/// Calls code of the host. What it throws without a place, as RuntimeError or std::exception, gets the place
/// of the script that is running; std::bad_alloc stays as it is.
template <typename Call>
auto call_host(Call call) {
    try {
        return call();
    } catch (RuntimeError& error) {
        throw ScriptError(exception_text(error), thread_state().place);
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& error) {
        raise_runtime_error(error.what());
    }
}

/// A value's printed form for a message, cut when it is long.
std::string excerpt(Value* value);

}  // namespace corrivane::host
