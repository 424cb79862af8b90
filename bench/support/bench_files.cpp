#include "bench/support/bench_files.h"

#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <string_view>

namespace corrivane::bench {

namespace {

constexpr float corners[] = {-1, -1, 0, 1, -1, 0, 0, 1, 0};

constexpr std::string_view scene_start = R"({
    "asset": {"version": "2.0"},
    "extensionsUsed": ["KHR_lights_punctual"],
    "extensions": {"KHR_lights_punctual": {"lights": [{"type": "directional", "intensity": 3.0}]}},
    "nodes": [
        {"name": "Triangle", "mesh": 0},
        {"name": "Camera01", "camera": 0, "translation": [0, 0, 3]},
        {"name": "Sun", "extensions": {"KHR_lights_punctual": {"light": 0}}}],
    "cameras": [{"type": "perspective", "perspective": {"yfov": 0.8, "znear": 0.1}}],
    "meshes": [{"primitives": [{"attributes": {"POSITION": 0}}]}],
    "accessors": [{"bufferView": 0, "componentType": 5126, "count": 3, "type": "VEC3",
                   "min": [-1, -1, 0], "max": [1, 1, 0]}],
    "bufferViews": [{"buffer": 0, "byteOffset": 0, "byteLength": 36}],
    "buffers": [{"uri": "scene.bin", "byteLength": 36}],
    "scene": 0,
    "scenes": [{"nodes": [0, 1, 2], "extras": {"render": {
        "output": "C:\\out\\beauty.png", "saveFile": true, "activeView": "Camera01")";

std::string settings(int width, int height, int samples) {
    return ", \"width\": " + std::to_string(width) + ", \"height\": " + std::to_string(height) +
           ", \"samples\": " + std::to_string(samples);
}

void write_file(const std::filesystem::path& file, std::string_view content) {
    std::ofstream stream(file, std::ios::binary);
    stream.write(content.data(), static_cast<std::streamsize>(content.size()));
    if (!stream.flush()) throw std::runtime_error("cannot write " + file.string());
}

}  // namespace

std::filesystem::path programs_folder() {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}

TemporaryFolder::TemporaryFolder() {
    std::string name = std::filesystem::temp_directory_path() / "corrivane-bench-XXXXXX";
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("cannot make " + name);
    m_path = name;
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

std::filesystem::path write_scene(const std::filesystem::path& folder, int width, int height, int samples) {
    std::string scene(scene_start);
    scene.append(settings(width, height, samples)).append("}}}]}");
    write_file(folder / "scene.bin", {reinterpret_cast<const char*>(corners), sizeof corners});
    write_file(folder / "scene.gltf", scene);
    return folder / "scene.gltf";
}

}  // namespace corrivane::bench
