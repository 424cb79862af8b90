#include "app/scene_values.h"

#include "maxscript/runtime.h"

namespace corrivane::host {

namespace {

const ValueMetaClass node_class{"Node"};

}  // namespace

const ValueMetaClass& NodeScriptValue::value_class() const {
    return node_class;
}

Document& NodeScriptValue::document() const {
    Document& open = m_core.document();
    if (open.scene() != m_scene.lock()) {
        throw RuntimeError("Attempt to access deleted scene object");
    }
    return open;
}

std::string NodeScriptValue::name() const {
    return document().nodes().at(m_node)->GetName();
}

void NodeScriptValue::sprin1(CharStream* stream) {
    const bool deleted = m_core.document().scene() != m_scene.lock();
    stream->puts(deleted ? "<Deleted scene node>" : ("$" + name()).c_str());
}

Value* NodeScriptValue::get_property(const std::string& name) {
    if (name == "name") {
        return make_string(this->name());
    }
    if (name == "pos" || name == "position") {
        return new Point3Value(document().node_placement(m_node).translation());
    }
    if (name == "transform") {
        return new Matrix3Value(document().node_placement(m_node));
    }
    return ScriptValue::get_property(name);
}

bool NodeScriptValue::equals(Value* other) {
    const auto* node = dynamic_cast<const NodeScriptValue*>(other);
    return node != nullptr && node->m_node == m_node && node->m_scene.lock() == m_scene.lock();
}

}  // namespace corrivane::host
