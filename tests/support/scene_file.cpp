#include "support/scene_file.h"

#include "support/temporary_folder.h"

#include <string_view>

namespace corrivane::test {

namespace {

// Positions of the square's corners, its two triangles, then the animation's times and translations.
constexpr float positions[] = {-1, -1, 0, 1, -1, 0, 1, 1, 0, -1, 1, 0};
constexpr unsigned short indices[] = {0, 1, 2, 0, 2, 3};
constexpr float times[] = {0, 10};
constexpr float translations[] = {0, 0, 0, 10, 0, 0};

template <typename Numbers>
std::string_view bytes_of(const Numbers& numbers) {
    return {reinterpret_cast<const char*>(numbers), sizeof numbers};
}

}  // namespace

nlohmann::json small_scene() {
    return nlohmann::json::parse(R"({
        "asset": {"version": "2.0"},
        "extensionsUsed": ["KHR_lights_punctual"],
        "extensions": {"KHR_lights_punctual": {"lights": [{"type": "directional", "intensity": 3.0}]}},
        "scene": 0,
        "scenes": [{"nodes": [0, 1, 2, 3], "extras": {"render": {
            "width": 64, "height": 48, "frameRate": 30, "samples": 1, "output": "C:\\out\\beauty.png",
            "saveFile": true, "activeView": "Camera01"}}}],
        "nodes": [
            {"name": "Square", "mesh": 0},
            {"name": "Camera01", "camera": 0, "translation": [0, 0, 5]},
            {"name": "Side", "camera": 0, "translation": [0, 0, 9]},
            {"name": "Sun", "extensions": {"KHR_lights_punctual": {"light": 0}}}],
        "cameras": [{"type": "perspective", "perspective": {"yfov": 0.8, "znear": 0.1}}],
        "materials": [{"pbrMetallicRoughness": {"baseColorFactor": [0.8, 0.2, 0.1, 1.0], "metallicFactor": 0.0}}],
        "meshes": [{"primitives": [{"attributes": {"POSITION": 0}, "indices": 1, "material": 0}]}],
        "animations": [{
            "channels": [{"sampler": 0, "target": {"node": 0, "path": "translation"}}],
            "samplers": [{"input": 2, "output": 3}]}],
        "accessors": [
            {"bufferView": 0, "componentType": 5126, "count": 4, "type": "VEC3", "min": [-1, -1, 0], "max": [1, 1, 0]},
            {"bufferView": 1, "componentType": 5123, "count": 6, "type": "SCALAR"},
            {"bufferView": 2, "componentType": 5126, "count": 2, "type": "SCALAR", "min": [0], "max": [10]},
            {"bufferView": 3, "componentType": 5126, "count": 2, "type": "VEC3"}],
        "bufferViews": [
            {"buffer": 0, "byteOffset": 0, "byteLength": 48},
            {"buffer": 0, "byteOffset": 48, "byteLength": 12},
            {"buffer": 0, "byteOffset": 60, "byteLength": 8},
            {"buffer": 0, "byteOffset": 68, "byteLength": 24}],
        "buffers": [{"uri": "scene.bin", "byteLength": 92}]
    })");
}

nlohmann::json& render_settings(nlohmann::json& scene) {
    return scene["scenes"][0]["extras"]["render"];
}

std::filesystem::path save_scene(const nlohmann::json& scene, const std::filesystem::path& folder) {
    std::string buffer;
    buffer.append(bytes_of(positions))
        .append(bytes_of(indices))
        .append(bytes_of(times))
        .append(bytes_of(translations));
    write_file(folder / "scene.bin", buffer);
    write_file(folder / "scene.gltf", scene.dump());
    return folder / "scene.gltf";
}

}  // namespace corrivane::test
