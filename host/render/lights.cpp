#include "render/lights.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace corrivane::host {

namespace {

PlacedLight place(const Light& light, const Imath::M44f& to_world) {
    PlacedLight placed;
    placed.kind = light.kind;
    placed.position = {to_world[3][0], to_world[3][1], to_world[3][2]};
    const Imath::V3f back(to_world[2][0], to_world[2][1], to_world[2][2]);
    const float length = back.length();
    placed.direction = length > 0 && std::isfinite(length) ? back / -length : Imath::V3f(0, -1, 0);
    placed.intensity = light.color * (light.on ? light.intensity : 0);
    placed.range = light.range;
    // The fall-off that the extension's text recommends.
    const float outer = std::cos(light.outer_cone);
    placed.cone_scale = 1 / std::max(0.001f, std::cos(light.inner_cone) - outer);
    placed.cone_offset = -outer * placed.cone_scale;
    return placed;
}

/// The extension's window that takes a light with a range smoothly to nothing there.
float range_window(float distance, float range) {
    const float ratio = distance / range;
    return std::clamp(1 - ratio * ratio * ratio * ratio, 0.0f, 1.0f);
}

}  // namespace

std::vector<PlacedLight> place_lights(const Scene& scene, const Pose& pose) {
    std::vector<PlacedLight> lights;
    for (std::size_t i = 0; i < scene.nodes.size(); ++i) {
        const int light = scene.nodes[i].light;
        if (light >= 0) lights.push_back(place(scene.lights[static_cast<std::size_t>(light)], pose[i]));
    }
    return lights;
}

Illumination illumination_at(const PlacedLight& light, const Imath::V3f& point) {
    if (light.kind == Light::Kind::directional) {
        return {light.intensity, -light.direction, std::numeric_limits<float>::infinity()};
    }
    const Imath::V3f way = light.position - point;
    const float distance = std::max(way.length(), 1e-4f);
    if (!std::isfinite(distance)) return {};
    const Imath::V3f towards = way / distance;
    float strength = range_window(distance, light.range) / (distance * distance);
    if (light.kind == Light::Kind::spot) {
        const float cosine = -towards.dot(light.direction);
        const float cone = std::clamp(cosine * light.cone_scale + light.cone_offset, 0.0f, 1.0f);
        strength *= cone * cone;
    }
    return {light.intensity * strength, towards, distance};
}

}  // namespace corrivane::host
