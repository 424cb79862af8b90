#pragma once

#include "core/core.h"
#include "maxscript/machine/script_value.h"

#include <string>

namespace corrivane::host {

/// What maxOps.GetCurRenderElementMgr() gives: the open scene's render elements, counted from 0, by the functions
///
///   NumRenderElements()   GetElementsActive()
///   GetRenderElementFilename INDEX   SetRenderElementFilename INDEX "name"
///
/// An index that is not there is a MAXScript error. An element that is given an empty name is not written.
class ElementManagerScriptValue final : public ScriptValue {
public:
    explicit ElementManagerScriptValue(Core& core) : m_core(core) {}

    const ValueMetaClass& value_class() const override;
    void sprin1(CharStream* stream) override;
    Value* get_property(const std::string& name) override;

private:
    Core& m_core;
};

}  // namespace corrivane::host
