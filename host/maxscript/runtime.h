#pragma once

#include "maxscript/script_value.h"

#include <max/maxscript/maxscript.h>

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

/// The MAXScript runtime of the host: how it is started, how scripts are run, and how the host's own names
/// reach them.
///
/// The runtime takes no lock: threads may take turns at running script and at making values, but must not
/// overlap. MAXScript errors are MAXScriptException, here as everywhere.
///
/// A `Value*` that C++ code holds is alive only while a root reaches it, and every function that makes a
/// value may collect: keep what must survive the next one in a Rooted. Arguments of a primitive are rooted
/// during its call, and what a primitive returns needs no root.
namespace corrivane::host {

/// Where the Listener's text goes besides standard output.
struct RuntimeOptions {
    /// A file of this machine that receives the Listener's text too; empty for none.
    std::string listener_log{};
    /// False keeps the Listener off standard output.
    bool listener_to_stdout = true;
    /// False makes every function that reads or writes files a MAXScript error.
    bool file_access = true;
};

/// The started runtime: one at a time in a process. Published interfaces may come before it and may
/// outlive it.
class MaxScriptRuntime {
public:
    /// Starts the runtime and defines the built-in names. Throws std::runtime_error when the Listener's log
    /// cannot be opened, and std::logic_error when a runtime is started already.
    explicit MaxScriptRuntime(const RuntimeOptions& options = {});
    /// Forgets every global, callback script and value; compiled code that is still held must not be run.
    ~MaxScriptRuntime();
    MaxScriptRuntime(const MaxScriptRuntime&) = delete;
    MaxScriptRuntime& operator=(const MaxScriptRuntime&) = delete;
};

/// What came of running a script.
struct ScriptResult {
    bool succeeded = false;
    /// The printed form of the last value (`OK` where there is none), or the error's description, that of a
    /// C++ exception too.
    std::string text;
};

/// Runs a text, expression by expression.
ScriptResult run_text(const std::string& text);
/// Runs a script file, named by a Windows path.
ScriptResult run_file(const std::string& path);

/// The printed form of a value, as the Listener shows it.
std::string printed_form(Value* value);
/// The printed description of an error, with the line (and the file) where there is one.
std::string error_description(MAXScriptException& error);

/// Receives the Listener's text, in pieces, besides the places of RuntimeOptions; an empty function
/// ends that.
void set_listener(std::function<void(std::string_view)> listener);

/// Ends a script with an error after this many steps (calls and rounds of loops), counted over all scripts
/// from now on; 0, the default, for no limit. Such an error cannot be caught by script.
void set_step_limit(std::uint64_t steps);

/// Keeps one value alive for the lifetime of this object, which lives on the native stack: of several, the
/// last one made goes first.
class Rooted {
public:
    explicit Rooted(Value* value = nullptr);
    ~Rooted();
    Rooted(const Rooted&) = delete;
    Rooted& operator=(const Rooted&) = delete;
    Rooted& operator=(Value* value) {
        m_slot = value;
        return *this;
    }
    Value* get() const { return m_slot; }
    Value* operator->() const { return m_slot; }

private:
    ValueLocalsFrame m_frame;
    Value* m_slot;
};

/// An argument given by name: `to:stream`.
struct KeywordArgument {
    /// In lower case.
    const std::string* name;
    Value* value;
};

/// The arguments of one call, counted from 0, rooted while the call lasts. What does not fit is a MAXScript
/// error that names the function and the argument.
class Arguments {
public:
    Arguments(const std::string& function, Value** values, std::size_t count, const KeywordArgument* keywords,
              std::size_t keyword_count)
        : m_function(function),
          m_values(values),
          m_count(count),
          m_keywords(keywords),
          m_keyword_count(keyword_count) {}

    /// The name of the function that was called.
    const std::string& function() const { return m_function; }
    std::size_t count() const { return m_count; }
    /// An argument by its position, which is below count().
    Value* operator[](std::size_t index) const { return m_values[index]; }
    const KeywordArgument* keywords() const { return m_keywords; }
    std::size_t keyword_count() const { return m_keyword_count; }
    /// An argument by its name in lower case; null when it was not given.
    Value* keyword(std::string_view name) const;

    /// Throws unless there are exactly `wanted` arguments.
    void require(std::size_t wanted) const { require(wanted, wanted); }
    /// Throws unless there are at least `least` and at most `most` arguments.
    void require(std::size_t least, std::size_t most) const;

    /// An argument as C++ has it; throws when it is missing or of another kind. integer() takes a float
    /// without its fraction, number() takes an integer, text() takes a string or a name.
    int integer(std::size_t index) const;
    float number(std::size_t index) const;
    bool boolean(std::size_t index) const;
    std::string text(std::size_t index) const;

private:
    Value* required(std::size_t index) const;

    const std::string& m_function;
    Value** m_values;
    std::size_t m_count;
    const KeywordArgument* m_keywords;
    std::size_t m_keyword_count;
};

/// A function of the host that scripts call. Returns `&ok` or `&undefined` where there is nothing to return.
using HostFunction = std::function<Value*(Arguments&)>;
using VariableGetter = std::function<Value*()>;
using VariableSetter = std::function<void(Value*)>;

/// Defines a global function. A name with a dot, `standin.fault`, is a member of a global namespace, which is
/// made when it is first needed. A definition replaces what had the name.
void define_function(const std::string& name, HostFunction function);
/// Defines a global (or, with a dot, a member) that is computed. Without a setter it is read-only.
void define_variable(const std::string& name, VariableGetter get, VariableSetter set = {});
/// Defines a read-only global (or member) with a fixed value.
void define_constant(const std::string& name, Value* value);

Value* make_integer(int number);
Value* make_float(float number);
Value* make_boolean(bool truth);
Value* make_string(std::string_view text);
/// `#text`.
Value* make_name(std::string_view text);
Value* make_array();
Value* make_array(const std::vector<std::string>& texts);
/// Appends to what make_array made; both are kept alive meanwhile.
void append_to_array(Value* array, Value* element);
/// An empty dictionary. Scripts read it as `value[#key]` or `value["key"]`, undefined for what it does not
/// hold, and as `value.keys` and `value.count`.
Value* make_dictionary();
void set_in_dictionary(Value* dictionary, const std::string& key, Value* content);

/// A value as C++ has it; throws "Unable to convert: … to type: …". to_integer takes a float without its
/// fraction, to_float takes an integer, to_text takes a string or a name.
int to_integer(Value* value);
float to_float(Value* value);
bool to_boolean(Value* value);
std::string to_text(Value* value);

/// Runs the scripts that `callbacks.addScript #kind "…"` has registered, in the order of their registration;
/// `kind` is "preRenderFrame" or "postRenderFrame", in any case. An error in one of them is thrown on, and
/// ends the round.
void run_callbacks(std::string_view kind);

}  // namespace corrivane::host
