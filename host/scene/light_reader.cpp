#include "scene/light_reader.h"

#include "json/shortened.h"
#include "scene/limits.h"
#include "scene/value_readers.h"

#include <numbers>

namespace corrivane::host {

namespace {

constexpr const char* extension = "KHR_lights_punctual";

std::optional<json::Value> list_of(const GltfDocument& document) {
    const auto lights = find_extension(document.root(), extension);
    return lights ? lights->find("lights") : std::nullopt;
}

Light::Kind read_kind(const json::Value& part) {
    const std::string_view type = part.at("type").text();
    if (type == "directional") return Light::Kind::directional;
    if (type == "point") return Light::Kind::point;
    if (type == "spot") return Light::Kind::spot;
    part.fail("no type \"" + json::shortened(type) + "\"");
}

Light read(const json::Value& part) {
    Light light;
    light.name = text_or(part, "name", "");
    light.kind = read_kind(part);
    const auto color = numbers_or<3>(part, "color", {0, 1e6}, {1, 1, 1});
    light.color = {color[0], color[1], color[2]};
    light.intensity = number_or(part, "intensity", {0, limits::length}, light.intensity);
    light.range = number_or(part, "range", {1e-9, limits::length}, light.range);
    const auto spot = part.find("spot");
    if (light.kind != Light::Kind::spot || !spot) return light;
    light.outer_cone =
        number_or(*spot, "outerConeAngle", {1e-6, std::numbers::pi / 2 + 1e-6}, light.outer_cone);
    light.inner_cone = number_or(*spot, "innerConeAngle", {0, light.outer_cone}, light.inner_cone);
    return light;
}

}  // namespace

LightReader::LightReader(const GltfDocument& document, Scene& scene)
    : m_scene(scene), m_lights(list_of(document), "light") {}

int LightReader::light_of(const json::Value& node) {
    const auto use = find_extension(node, extension);
    if (!use) return -1;
    const auto number = use->find("light");
    if (!number || !number->is_number()) node.fail("KHR_lights_punctual names no light");
    const std::size_t index = m_lights.index(*number, node);
    const auto [found, added] = m_read.try_emplace(index, static_cast<int>(m_scene.lights.size()));
    if (added) m_scene.lights.push_back(read(m_lights[index]));
    return found->second;
}

}  // namespace corrivane::host
