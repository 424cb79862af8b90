#include "core/units.h"
#include "maxscript/machine/geometry.h"
#include "maxscript/machine/signature.h"
#include "maxscript/machine/times.h"
#include "scripting/layers.h"
#include "scripting/materials.h"
#include "scripting/node_value.h"
#include "scripting/rows.h"
#include "scripting/scene_edits.h"

#include <algorithm>
#include <cmath>

/// What every node has: name, family, place, what hides it. `fixed` rows are what this host renders in one way only.
namespace corrivane::host {

namespace {

ScriptedScene& open_scene() {
    return ScriptedScene::instance();
}

double seconds() {
    return to_seconds(ScriptedScene::time());
}

Imath::M44f world_of(int node) {
    return node < 0 ? Imath::M44f() : open_scene().document().node_placement(node, ScriptedScene::time());
}

void change(const NodeValue& node, const std::function<void(Scene&, int)>& change) {
    const int index = node.index();
    open_scene().document().change_scene([&](Scene& scene) { change(scene, index); });
}

/// What the axes that a script speaks of are to the world: the world's own, unless `in coordsys` says otherwise.
Imath::M44f axes_of(const NodeValue& node) {
    const ScriptContext& context = thread_state().context;
    switch (context.coordinate_system) {
        case CoordinateSystem::parent:
            return world_of(node.node().parent);
        case CoordinateSystem::local:
            return world_of(node.index());
        case CoordinateSystem::object:
            if (auto* other = dynamic_cast<NodeValue*>(context.coordinate_object))
                return world_of(other->index());
            if (context.coordinate_object != nullptr)
                return FromScript<Imath::M44f>::from(context.coordinate_object);
            break;
        case CoordinateSystem::world:
            break;
    }
    return {};
}

Imath::M44f placement_of(const NodeValue& node) {
    return world_of(node.index()) * axes_of(node).inverse();
}

void place(const NodeValue& node, const Imath::M44f& placed) {
    for (int row = 0; row < 4; ++row)
        for (int column = 0; column < 3; ++column)
            if (!std::isfinite(placed[row][column]))
                raise_runtime_error("a node's place must be finite numbers");
    const Imath::M44f local = placed * axes_of(node) * world_of(node.node().parent).inverse();
    const bool as_key = thread_state().context.animate;
    change(node, [&](Scene& scene, int index) { place_node(scene, index, local, as_key, seconds()); });
}

Imath::V3f position_of(NodeValue& node) {
    return placement_of(node).translation();
}

void set_position(NodeValue& node, const Imath::V3f& position) {
    Imath::M44f placed = placement_of(node);
    for (int axis = 0; axis < 3; ++axis)
        placed[3][axis] = position[axis];
    place(node, placed);
}

Imath::Quatf rotation_of_node(NodeValue& node) {
    return rotation_part(placement_of(node));
}

void set_rotation(NodeValue& node, const Imath::Quatf& rotation) {
    const Imath::M44f before = placement_of(node);
    place(node, placement(before.translation(), rotation, scale_part(before)));
}

Imath::V3f scale_of(NodeValue& node) {
    return scale_part(placement_of(node));
}

void set_scale(NodeValue& node, const Imath::V3f& scale) {
    const Imath::M44f before = placement_of(node);
    place(node, placement(before.translation(), rotation_part(before), scale));
}

/// The box around the node's mesh, in the world; around its place where it has none.
Imath::Box3f box_of(NodeValue& node) {
    const Imath::M44f world = world_of(node.index());
    Imath::Box3f box;
    if (node.node().mesh >= 0)
        for (const Primitive& primitive :
             open_scene().scene().meshes[static_cast<std::size_t>(node.node().mesh)].primitives)
            for (const Imath::V3f& position : primitive.positions)
                box.extendBy(position * world);
    if (box.isEmpty()) box.extendBy(world.translation());
    return box;
}

int count_of(NodeValue& node, bool faces) {
    std::size_t count = 0;
    if (node.node().mesh >= 0)
        for (const Primitive& primitive :
             open_scene().scene().meshes[static_cast<std::size_t>(node.node().mesh)].primitives)
            count += faces ? primitive.triangles.size() : primitive.positions.size();
    return static_cast<int>(count);
}

void set_name(NodeValue& node, const std::string& name) {
    change(node, [&](Scene& scene, int index) { scene.nodes[static_cast<std::size_t>(index)].name = name; });
}

Value* parent_of(NodeValue& node) {
    return node_value(node.node().parent);
}

void set_parent_of(NodeValue& node, Value* parent) {
    const int above = parent == &undefined ? -1 : FromScript<NodeValue&>::from(parent).index();
    change(node, [&](Scene& scene, int index) {
        if (!set_parent(scene, index, above, seconds()))
            raise_runtime_error("Cannot create circular dependency: " +
                                scene.nodes[static_cast<std::size_t>(index)].name);
    });
}

Value* children_of(NodeValue& node) {
    return new NodeCollection("$" + node.node().name + "/*",
                              [index = node.index()] { return open_scene().node(index).children; });
}

template <bool NodeRecord::*Flag>
bool flag(NodeValue& node) {
    return node.record().*Flag;
}

template <bool NodeRecord::*Flag>
void set_flag(NodeValue& node, bool on) {
    node.record().*Flag = on;
    open_scene().show_and_hide();
}

void set_visibility(NodeValue& node, Value* content) {
    forbid_key("a node's visibility");
    const float visible =
        content->is(Boolean_class) ? (to_boolean(content) ? 1.0F : 0.0F) : to_float(content);
    if (visible != 0 && visible != 1) raise_absent("nodes that are partly visible");
    node.record().visible = visible == 1;
    open_scene().show_and_hide();
}

Value* wire_color(NodeValue& node) {
    return new ColorValue(node.record().wire_color);
}

void set_wire_color(NodeValue& node, const Imath::V3f& color) {
    node.record().wire_color = {color.x, color.y, color.z, 255};
}

bool is_selected(NodeValue& node) {
    const std::vector<int>& selected = open_scene().selection();
    return std::find(selected.begin(), selected.end(), node.index()) != selected.end();
}

void set_selected(NodeValue& node, bool selected) {
    std::vector<int>& all = open_scene().selection();
    std::erase(all, node.index());
    if (selected) all.push_back(node.index());
}

Value* material_of_node(NodeValue& node) {
    const int mesh = node.node().mesh;
    if (mesh < 0) return &undefined;
    const std::vector<Primitive>& parts =
        open_scene().scene().meshes[static_cast<std::size_t>(mesh)].primitives;
    return parts.empty() ? &undefined : new MaterialValue(parts.front().material);
}

void set_layer(NodeValue& node, LayerValue& layer) {
    node.record().layer = layer.index();
    open_scene().show_and_hide();
}

Imath::V3f direction_of(NodeValue& node) {
    const Imath::M44f world = world_of(node.index());
    return Imath::V3f(world[2][0], world[2][1], world[2][2]).normalized();
}

}  // namespace

const PropertyTable<NodeValue>& node_properties() {
    const char* one_way = "rendering of single objects in another way than the others";
    static const PropertyTable<NodeValue> table{
        property(
            "name", [](NodeValue& node) { return node.node().name; }, set_name),
        property("pos", position_of, set_position),
        property("position", position_of, set_position),
        property("rotation", rotation_of_node, set_rotation),
        property("scale", scale_of, set_scale),
        property(
            "transform", [](NodeValue& node) { return placement_of(node); },
            [](NodeValue& node, const Imath::M44f& matrix) { place(node, matrix); }),
        read_only("objectTransform", [](NodeValue& node) { return world_of(node.index()); }),
        read_only("dir", direction_of),
        property("parent", parent_of, set_parent_of),
        read_only("children", children_of),
        read_only("handle", [](NodeValue& node) { return node.index() + 1; }),
        read_only("min", [](NodeValue& node) { return box_of(node).min; }),
        read_only("max", [](NodeValue& node) { return box_of(node).max; }),
        read_only("center", [](NodeValue& node) { return box_of(node).center(); }),
        property("isHidden", flag<&NodeRecord::hidden>, set_flag<&NodeRecord::hidden>),
        property("renderable", flag<&NodeRecord::renderable>, set_flag<&NodeRecord::renderable>),
        property("visibility", flag<&NodeRecord::visible>, set_visibility),
        property("isSelected", is_selected, set_selected),
        property("wireColor", wire_color, set_wire_color),
        property("material", material_of_node,
                 [](NodeValue&, Value*) { raise_absent("assignment of materials to single nodes"); }),
        property(
            "layer", [](NodeValue& node) -> Value* { return new LayerValue(node.record().layer); },
            set_layer),
        read_only("mesh", [](NodeValue& node) -> Value* { return new MeshValue(node); }),
        read_only("numFaces", [](NodeValue& node) { return count_of(node, true); }),
        read_only("numVerts", [](NodeValue& node) { return count_of(node, false); }),
        read_only("modifiers", [](NodeValue&) { return make_array(); }),
        read_only("isTarget", [](NodeValue&) { return false; }),
        read_only("isGroupHead", [](NodeValue&) { return false; }),
        fixed<NodeValue>("castShadows", true, one_way),
        fixed<NodeValue>("receiveShadows", true, one_way),
        fixed<NodeValue>("primaryVisibility", true, one_way),
        fixed<NodeValue>("secondaryVisibility", true, one_way),
        fixed<NodeValue>("applyAtmospherics", true, one_way),
        fixed<NodeValue>("inheritVisibility", true, one_way),
        kept<NodeValue>("isFrozen", false),
        kept<NodeValue>("boxMode", false),
        kept<NodeValue>("backfaceCull", false),
        kept<NodeValue>("allEdges", false),
        kept<NodeValue>("showFrozenInGray", true),
        kept<NodeValue>("displayByLayer", false),
        kept<NodeValue>("renderByLayer", false),
        kept<NodeValue>("colorByLayer", false),
        kept<NodeValue>("showTrajectory", false),
        kept<NodeValue>("xray", false),
        kept<NodeValue>("gbufferChannel", 0),
        absent<NodeValue>("controller", "access to controllers"),
        absent<NodeValue>("baseObject", "stack of modifiers"),
        absent<NodeValue>("objectOffsetPos", "pivots apart from their objects"),
        absent<NodeValue>("objectOffsetRot", "pivots apart from their objects"),
        absent<NodeValue>("objectOffsetScale", "pivots apart from their objects"),
        absent<NodeValue>("pivot", "pivots apart from their objects"),
    };
    return table;
}

const ValueMetaClass TriMesh_class{"TriMesh"};

const PropertyTable<MeshValue>& MeshValue::properties() {
    static const PropertyTable<MeshValue> table{
        read_only("numFaces", [](MeshValue& mesh) { return count_of(mesh.owner(), true); }),
        read_only("numVerts", [](MeshValue& mesh) { return count_of(mesh.owner(), false); }),
        absent<MeshValue>("faces", "access to the faces of meshes"),
        absent<MeshValue>("verts", "access to the vertices of meshes"),
    };
    return table;
}

}  // namespace corrivane::host
