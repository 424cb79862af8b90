#pragma once

#include "core/core.h"
#include "maxscript/machine/geometry.h"

#include <memory>
#include <string>

namespace corrivane::host {

/// A node of the open scene: prints as `$name`. Properties: `name`; at the current time `pos` (also
/// `position`) and `transform`. Using it after its scene was closed is a MAXScript error.
class NodeScriptValue final : public ScriptValue {
public:
    /// `node` is an index of the open scene's.
    NodeScriptValue(Core& core, int node) : m_core(core), m_scene(core.document().scene()), m_node(node) {}

    const ValueMetaClass& value_class() const override;
    void sprin1(CharStream* stream) override;
    Value* get_property(const std::string& name) override;
    bool equals(Value* other) override;

private:
    /// Throws unless the node's scene is still the open one.
    Document& document() const;
    std::string name() const;

    Core& m_core;
    std::weak_ptr<const Scene> m_scene;
    int m_node;
};

}  // namespace corrivane::host
