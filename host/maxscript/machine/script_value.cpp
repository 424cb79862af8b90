#include "maxscript/machine/script_value.h"

#include "maxscript/machine/errors.h"

namespace corrivane::host {

Value* ScriptValue::get_property(const std::string& name) {
    raise_unknown_property(name, this);
}

void ScriptValue::set_property(const std::string& name, Value* /*content*/) {
    raise_unknown_property(name, this);
}

Value* ScriptValue::get_element(Value* /*index*/) {
    raise_no_function("get", this);
}

void ScriptValue::set_element(Value* /*index*/, Value* /*content*/) {
    raise_no_function("put", this);
}

Value* ScriptValue::operate(Operator /*operation*/, Value* /*other*/, bool /*reversed*/) {
    return nullptr;
}

Value* ScriptValue::converted(const ValueMetaClass& /*wanted*/) {
    return nullptr;
}

Value* ScriptValue::collection_element(std::size_t /*index*/) {
    return nullptr;
}

Value* ScriptValue::call(Arguments& /*arguments*/) {
    raise_type_error("Call needs function or class, got: " + excerpt(this));
}

}  // namespace corrivane::host
