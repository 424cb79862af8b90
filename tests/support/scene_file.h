#pragma once

#include <nlohmann/json.hpp>

#include <filesystem>

namespace corrivane::test {

/// A small glTF scene: a square before a camera ("Camera01"), lit from the front, that moves to the right by
/// one unit a second and leaves the background visible on all sides; a second camera ("Side") shows it from
/// further away. 64 x 48 pixels, saved to C:\out\beauty.png. Tests change the document as they need it.
nlohmann::json small_scene();

/// The index of "Camera01" among its nodes.
inline constexpr int small_scene_camera = 1;

/// The scene's extras.render.
nlohmann::json& render_settings(nlohmann::json& scene);

/// Writes the document and its buffer, `scene.gltf` and `scene.bin`, and returns the former.
std::filesystem::path save_scene(const nlohmann::json& scene, const std::filesystem::path& folder);

}  // namespace corrivane::test
