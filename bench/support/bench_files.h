#pragma once

#include <filesystem>
#include <string>

namespace corrivane::bench {

/// The folder of the running program, where the build puts all programs.
std::filesystem::path programs_folder();

/// An empty folder that goes away with everything in it.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& path() const { return m_path; }

private:
    std::filesystem::path m_path;
};

/// Index of the camera node, "Camera01", in the scene that write_scene writes.
constexpr int scene_camera_node = 1;

/// Writes a glTF scene of one lit triangle before a camera, whose frames are saved to C:\out\beauty.png, and
/// returns its file, `scene.gltf` in `folder`. Throws std::runtime_error when it cannot be written.
std::filesystem::path write_scene(const std::filesystem::path& folder, int width, int height, int samples);

}  // namespace corrivane::bench
