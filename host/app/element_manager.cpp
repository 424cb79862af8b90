#include "app/element_manager.h"

#include "maxscript/machine/functions.h"
#include "maxscript/runtime.h"

namespace corrivane::host {

namespace {

const ValueMetaClass element_manager_class{"RenderElementMgr"};

HostRenderElement& element_at(Core& core, Value* index) {
    IRenderElement* element = core.document().elements().GetRenderElement(to_integer(index));
    if (element == nullptr) {
        throw RuntimeError(("There is no render element " + printed_form(index)).c_str());
    }
    return static_cast<HostRenderElement&>(*element);
}

HostFunction function_named(const std::string& name, Core& core) {
    if (name == "numrenderelements") {
        return [&core](Arguments& arguments) -> Value* {
            arguments.require(0);
            return make_integer(core.document().elements().NumRenderElements());
        };
    }
    if (name == "getelementsactive") {
        return [&core](Arguments& arguments) -> Value* {
            arguments.require(0);
            return make_boolean(core.document().elements().GetElementsActive() != FALSE);
        };
    }
    if (name == "getrenderelementfilename") {
        return [&core](Arguments& arguments) -> Value* {
            arguments.require(1);
            return make_string(element_at(core, arguments[0]).output());
        };
    }
    if (name == "setrenderelementfilename") {
        return [&core](Arguments& arguments) -> Value* {
            arguments.require(2);
            element_at(core, arguments[0]).set_output(arguments.text(1));
            return &ok;
        };
    }
    return nullptr;
}

}  // namespace

const ValueMetaClass& ElementManagerScriptValue::value_class() const {
    return element_manager_class;
}

void ElementManagerScriptValue::sprin1(CharStream* stream) {
    stream->puts("<RenderElementMgr>");
}

Value* ElementManagerScriptValue::get_property(const std::string& name) {
    if (HostFunction function = function_named(name, m_core)) {
        return new PrimitiveFunction(name, std::move(function));
    }
    return ScriptValue::get_property(name);
}

}  // namespace corrivane::host
