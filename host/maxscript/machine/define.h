#pragma once

#include "maxscript/machine/arguments.h"

#include <functional>
#include <string>

namespace corrivane::host {

/// A function of the host that scripts call. Returns `&ok` or `&undefined` where there is nothing to return.
using HostFunction = std::function<Value*(Arguments&)>;
using VariableGetter = std::function<Value*()>;
using VariableSetter = std::function<void(Value*)>;

/// Defines a global function. A name with a dot, `standin.fault`, is a member of a global namespace, which is
/// made when it is first needed. A definition replaces what had the name.
void define_function(const std::string& name, HostFunction function);
/// Defines a global (or, with a dot, a member) that is computed. Without a setter it is read-only.
void define_variable(const std::string& name, VariableGetter get, VariableSetter set = {});
/// Makes a name one that 3ds Max has and this host does not: using or assigning it is an error, "this host has no
/// <what>: <name>". A script's own function or structure may have the name.
void define_absent(const std::string& name, const std::string& what);
/// Defines a read-only global (or member) with a fixed value.
void define_constant(const std::string& name, Value* value);

}  // namespace corrivane::host
