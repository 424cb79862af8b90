#include "scripting/node_value.h"

#include "maxscript/library/library.h"
#include "maxscript/machine/geometry.h"
#include "maxscript/machine/operators.h"
#include "maxscript/machine/signature.h"

#include <algorithm>
#include <array>

namespace corrivane::host {

const ValueMetaClass Node_class{"Node"};
const ValueMetaClass NodeCollection_class{"ObjectSet"};

namespace {

constexpr ValueMetaClass mesh_class{"Editable_mesh"};
constexpr ValueMetaClass camera_object_class{"Freecamera"};
constexpr ValueMetaClass point_light_class{"Omnilight"};
constexpr ValueMetaClass spot_light_class{"freeSpot"};
constexpr ValueMetaClass directional_light_class{"Directionallight"};
constexpr ValueMetaClass helper_class{"Dummy"};

constexpr std::array<NodeKind, 6> kinds{{{mesh_class, "GeometryClass"},
                                         {camera_object_class, "camera"},
                                         {point_light_class, "light"},
                                         {spot_light_class, "light"},
                                         {directional_light_class, "light"},
                                         {helper_class, "helper"}}};

const NodeKind& kind_of_light(Light::Kind kind) {
    switch (kind) {
        case Light::Kind::point:
            return kinds[2];
        case Light::Kind::spot:
            return kinds[3];
        case Light::Kind::directional:
            break;
    }
    return kinds[4];
}

}  // namespace

const NodeKind& kind_of(const SceneNode& node) {
    if (node.mesh >= 0) return kinds[0];
    if (node.camera >= 0) return kinds[1];
    if (node.light < 0) return kinds[5];
    const Scene& scene = ScriptedScene::instance().scene();
    return kind_of_light(scene.lights[static_cast<std::size_t>(node.light)].kind);
}

std::span<const NodeKind> node_kinds() {
    return kinds;
}

const char* super_class_of(std::string_view class_name) {
    for (const NodeKind& kind : kinds)
        if (lower_case(kind.object_class.name) == lower_case(class_name)) return kind.super_class;
    return nullptr;
}

bool NodeValue::is_valid() const {
    ScriptedScene& scene = ScriptedScene::instance();
    return scene.document().id() == m_document && !scene.record(m_index).deleted;
}

int NodeValue::index() const {
    if (!is_valid()) raise_runtime_error("Attempt to access deleted scene object");
    return m_index;
}

const ValueMetaClass& NodeValue::shown_class() const {
    return kind_of(node()).object_class;
}

void NodeValue::sprin1(CharStream* stream) {
    if (!is_valid()) {
        stream->puts("<Deleted scene node>");
        return;
    }
    const Imath::V3f place =
        ScriptedScene::instance().document().node_placement(m_index, ScriptedScene::time()).translation();
    stream->puts(
        ("$" + std::string(shown_class().name) + ":" + node().name + " @ " + point_text(place)).c_str());
}

Value* NodeValue::get_property(const std::string& name) {
    Value* found = node_properties().get(*this, name);
    const PropertyTable<NodeValue>* own = object_properties(*this);
    if (found == nullptr && own != nullptr) found = own->get(*this, name);
    return found != nullptr ? found : ScriptValue::get_property(name);
}

void NodeValue::set_property(const std::string& name, Value* content) {
    const PropertyTable<NodeValue>* own = object_properties(*this);
    if (node_properties().set(*this, name, content) || (own != nullptr && own->set(*this, name, content)))
        return;
    ScriptValue::set_property(name, content);
}

bool NodeValue::equals(Value* other) {
    const auto* node = value_as<NodeValue>(other);
    return node != nullptr && node->m_index == m_index && node->m_document == m_document;
}

Value* node_value(int index) {
    return index < 0 ? nullptr : new NodeValue(index);
}

void NodeCollection::sprin1(CharStream* stream) {
    stream->puts(m_text.c_str());
}

Value* NodeCollection::get_property(const std::string& name) {
    if (name == "count") return make_integer(static_cast<int>(members().size()));
    if (name == "center" || name == "min" || name == "max") {
        Box3 all;
        bool first = true;
        for (const int node : members()) {
            const Rooted value(node_value(node));
            const auto part = [&](const char* which) {
                return FromScript<Imath::V3f>::from(
                    static_cast<NodeValue*>(value.get())->get_property(which));
            };
            const Imath::V3f least = part("min");
            const Imath::V3f most = part("max");
            for (int axis = 0; axis < 3; ++axis) {
                all.min[axis] = first ? least[axis] : std::min(all.min[axis], least[axis]);
                all.max[axis] = first ? most[axis] : std::max(all.max[axis], most[axis]);
            }
            first = false;
        }
        return new Point3Value(name == "min" ? all.min : name == "max" ? all.max : (all.min + all.max) / 2);
    }
    return ScriptValue::get_property(name);
}

void NodeCollection::set_property(const std::string& name, Value* content) {
    for (const int node : members()) {
        const Rooted value(node_value(node));
        static_cast<NodeValue*>(value.get())->set_property(name, content);
    }
}

Value* NodeCollection::get_element(Value* index) {
    const std::vector<int> all = members();
    const std::size_t position = array_index(index);
    return position < all.size() ? node_value(all[position]) : &undefined;
}

Value* NodeCollection::collection_element(std::size_t index) {
    if (index == 0) m_current = members();
    return index < m_current.size() ? node_value(m_current[index]) : nullptr;
}

Value* NodeCollection::converted(const ValueMetaClass& wanted) {
    if (&wanted != &Array_class) return nullptr;
    const Rooted array(make_array());
    for (const int node : members())
        append_to_array(array.get(), node_value(node));
    return array.get();
}

Nodes FromScript<Nodes>::from(Value* value) {
    if (auto* collection = value_as<NodeCollection>(value)) return {collection->members()};
    std::vector<int> found;
    if (auto* array = value_as<ArrayValue>(value)) {
        for (Value* element : array->elements())
            found.push_back(FromScript<NodeValue&>::from(element).index());
    } else {
        found.push_back(FromScript<NodeValue&>::from(value).index());
    }
    return {found};
}

bool is_named(int node, const std::string& pattern) {
    return matches_pattern(lower_case(ScriptedScene::instance().node(node).name), lower_case(pattern));
}

}  // namespace corrivane::host
