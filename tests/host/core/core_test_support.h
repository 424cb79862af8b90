#pragma once

#include "bitmap/float_bitmap.h"
#include "core/core.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <atomic>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace corrivane::host::test {

/// A triangle that moves to the right for one second, in front of two cameras: "Camera01" and, nearer,
/// "Camera02"; and a node "Helper" that is nothing.
nlohmann::json triangle_scene();
/// The node of that name in a scene that is not yet written.
nlohmann::json& node_named(nlohmann::json& scene, const std::string& name);
/// The render settings of a scene that is not yet written.
nlohmann::json& render_settings(nlohmann::json& scene);

using ::corrivane::test::TemporaryFolder;

struct BitmapDeleter {
    void operator()(Bitmap* bitmap) const { bitmap->DeleteThis(); }
};
using BitmapPointer = std::unique_ptr<FloatBitmap, BitmapDeleter>;

BitmapPointer make_bitmap(int width, int height);
/// All numbers of all pixels.
std::vector<float> numbers_of(const FloatBitmap& bitmap);

/// Counts the calls; says stop from call `stop_at` on.
class RecordingProgress final : public RendProgressCallback {
public:
    explicit RecordingProgress(int stop_at = -1) : m_stop_at(stop_at) {}

    void SetTitle(const char* title) override { titles.emplace_back(title); }
    int Progress(int done, int total) override;

    std::vector<std::string> titles;

private:
    int m_stop_at;
    std::atomic<int> m_calls = 0;
};

/// The one core, empty before and after each test.
class CoreTest : public testing::Test {
protected:
    CoreTest();
    ~CoreTest() override;

    /// Writes the scene and its buffer and loads it. Returns what LoadFromFile returned.
    int load(const nlohmann::json& scene);
    /// The path of the file that load() writes.
    std::string scene_file() const { return (m_folder.path() / "scene.gltf").string(); }

    /// Opens the renderer for that camera and renders one frame of it.
    std::vector<float> render_camera(const char* camera, TimeValue time, ViewParams* view = nullptr);

    static constexpr int width = 48;
    static constexpr int height = 32;

    TemporaryFolder m_folder;
    Core& m_core = Core::instance();
};

}  // namespace corrivane::host::test
