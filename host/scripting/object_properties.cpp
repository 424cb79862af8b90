#include "core/scene_nodes.h"
#include "maxscript/machine/geometry.h"
#include "maxscript/machine/signature.h"
#include "scripting/node_value.h"
#include "scripting/rows.h"

#include <cmath>
#include <numbers>

/// What cameras and lights have besides what every node has. Angles are in degrees, a camera's field of view is the
/// one across the image.
namespace corrivane::host {

namespace {

constexpr float degrees = 180 / std::numbers::pi_v<float>;

Camera& camera_of(Scene& scene, int node) {
    return scene.cameras[static_cast<std::size_t>(scene.nodes[static_cast<std::size_t>(node)].camera)];
}
Light& light_of(Scene& scene, int node) {
    return scene.lights[static_cast<std::size_t>(scene.nodes[static_cast<std::size_t>(node)].light)];
}

const Projection& lens_of(NodeValue& node) {
    const Scene& scene = ScriptedScene::instance().scene();
    return scene.cameras[static_cast<std::size_t>(node.node().camera)].projection;
}
const Light& light_of(NodeValue& node) {
    return ScriptedScene::instance().scene().lights[static_cast<std::size_t>(node.node().light)];
}

template <typename Change>
void change_lens(NodeValue& node, Change change) {
    forbid_key("a camera's properties");
    const int index = node.index();
    ScriptedScene::instance().document().change_scene(
        [&](Scene& scene) { change(camera_of(scene, index).projection); });
}
template <typename Change>
void change_light(NodeValue& node, Change change) {
    forbid_key("a light's properties");
    const int index = node.index();
    ScriptedScene::instance().document().change_scene([&](Scene& scene) { change(light_of(scene, index)); });
}

float aspect() {
    return image_aspect(ScriptedScene::instance().document().settings());
}

float field_of_view(NodeValue& node) {
    return 2 * std::atan(aspect() * std::tan(lens_of(node).yfov / 2)) * degrees;
}

void set_field_of_view(NodeValue& node, float angle) {
    if (!(angle > 0 && angle < 180)) raise_runtime_error("a field of view must be between 0 and 180 degrees");
    change_lens(
        node, [&](Projection& lens) { lens.yfov = 2 * std::atan(std::tan(angle / degrees / 2) / aspect()); });
}

template <float Projection::*Distance>
float clip(NodeValue& node) {
    return lens_of(node).*Distance;
}

template <float Projection::*Distance>
void set_clip(NodeValue& node, float distance) {
    if (!(distance >= 0)) raise_runtime_error("a clipping distance must not be negative");
    change_lens(node, [&](Projection& lens) { lens.*Distance = distance; });
}

const PropertyTable<NodeValue>& camera_properties() {
    static const PropertyTable<NodeValue> table{
        property("fov", field_of_view, set_field_of_view),
        read_only("curFOV", field_of_view),
        property("nearClip", clip<&Projection::znear>, set_clip<&Projection::znear>),
        property("farClip", clip<&Projection::zfar>, set_clip<&Projection::zfar>),
        fixed<NodeValue>("clipManually", true, "cameras without clipping"),
        read_only("orthoProjection",
                  [](NodeValue& camera) { return lens_of(camera).kind == Projection::Kind::orthographic; }),
        read_only("target", [](NodeValue&) -> Value* { return &undefined; }),
        read_only("type", [](NodeValue&) { return make_name("free"); }),
        read_only("mpassEnabled",
                  [](NodeValue& camera) {
                      const auto& effect = camera.node().multipass;
                      return effect != nullptr && effect->enabled;
                  }),
        kept<NodeValue>("targetDistance", 160.0F),
        kept<NodeValue>("showCone", false),
        kept<NodeValue>("showHorizon", false),
        kept<NodeValue>("nearRange", 0.0F),
        kept<NodeValue>("farRange", 1000.0F),
        absent<NodeValue>("mpassEffect", "change of a camera's effect"),
    };
    return table;
}

template <float Light::*Angle>
Property<NodeValue> cone(const char* name) {
    return property(
        name, [](NodeValue& node) { return light_of(node).*Angle * 2 * degrees; },
        [](NodeValue& node, float angle) {
            if (light_of(node).kind != Light::Kind::spot) raise_absent("cone of a light that is no spot");
            if (!(angle >= 0 && angle <= 180))
                raise_runtime_error("a cone must be between 0 and 180 degrees");
            change_light(node, [&](Light& light) { light.*Angle = angle / degrees / 2; });
        });
}

void set_light_color(NodeValue& node, const Imath::V3f& color) {
    change_light(node, [&](Light& light) { light.color = scene_color(color); });
}

Value* light_color(NodeValue& node) {
    return color_value(light_of(node).color);
}

bool is_on(NodeValue& node) {
    return light_of(node).on;
}

void set_on(NodeValue& node, bool on) {
    change_light(node, [on](Light& light) { light.on = on; });
}

const PropertyTable<NodeValue>& light_properties() {
    static const PropertyTable<NodeValue> table{
        property("on", is_on, set_on),
        property("enabled", is_on, set_on),
        property(
            "multiplier", [](NodeValue& node) { return light_of(node).intensity; },
            [](NodeValue& node, float strength) {
                if (!(strength >= 0)) raise_absent("lights that take light away");
                change_light(node, [strength](Light& light) { light.intensity = strength; });
            }),
        property("rgb", light_color, set_light_color),
        property("color", light_color, set_light_color),
        cone<&Light::inner_cone>("hotspot"),
        cone<&Light::outer_cone>("falloff"),
        read_only("type",
                  [](NodeValue& node) {
                      switch (light_of(node).kind) {
                          case Light::Kind::point:
                              return make_name("omni");
                          case Light::Kind::spot:
                              return make_name("freeSpot");
                          case Light::Kind::directional:
                              break;
                      }
                      return make_name("freeDirect");
                  }),
        read_only("target", [](NodeValue&) -> Value* { return &undefined; }),
        kept<NodeValue>("showCone", false),
        absent<NodeValue>("projectorMap", "maps on lights"),
        absent<NodeValue>("shadowGenerator", "choice of shadows"),
        absent<NodeValue>("excludeList", "lights that leave objects out"),
        absent<NodeValue>("includeList", "lights that leave objects out"),
        absent<NodeValue>("affectDiffuse", "lights that leave parts of a surface out"),
        absent<NodeValue>("affectSpecular", "lights that leave parts of a surface out"),
        absent<NodeValue>("useFarAtten", "attenuation of lights"),
        absent<NodeValue>("useNearAtten", "attenuation of lights"),
    };
    return table;
}

}  // namespace

const PropertyTable<NodeValue>* object_properties(const NodeValue& value) {
    const SceneNode& node = value.node();
    if (node.camera >= 0) return &camera_properties();
    return node.light >= 0 ? &light_properties() : nullptr;
}

}  // namespace corrivane::host
