#pragma once

#include "maxscript/language/syntax_check.h"
#include "maxscript/library/callbacks.h"
#include "maxscript/machine/arguments.h"
#include "maxscript/machine/conversions.h"
#include "maxscript/machine/define.h"
#include "maxscript/machine/errors.h"
#include "maxscript/machine/rooted.h"
#include "maxscript/machine/script_value.h"
#include "maxscript/machine/steps.h"

#include <max/maxscript/maxscript.h>

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

/// Compiles a script file, named by a Windows path, without running it. Throws std::runtime_error when it cannot be
/// read.
std::vector<SyntaxFault> check_file(const std::string& path);

/// Receives the Listener's text, in pieces, besides the places of RuntimeOptions; an empty function
/// ends that.
void set_listener(std::function<void(std::string_view)> listener);

}  // namespace corrivane::host
