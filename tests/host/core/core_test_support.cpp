#include "core_test_support.h"

#include <cstdlib>
#include <fstream>
#include <stdexcept>

namespace corrivane::host::test {

using nlohmann::json;

namespace {

constexpr float buffer[] = {-1, -1, 0, 1, -1, 0, 0, 1, 0,  // positions
                            0,  1,                         // key times
                            0,  0,  0, 2, 0,  0};          // keys

json camera_node(const char* name, float distance) {
    return {{"name", name}, {"camera", 0}, {"translation", {0, 0, distance}}};
}

}  // namespace

json triangle_scene() {
    json scene = json::parse(R"({
        "asset": {"version": "2.0"}, "scene": 0,
        "scenes": [{"nodes": [0, 1, 2, 3], "extras": {"render": {"width": 48, "height": 32, "samples": 1}}}],
        "nodes": [{"name": "Triangle", "mesh": 0}],
        "meshes": [{"primitives": [{"attributes": {"POSITION": 0}}]}],
        "cameras": [{"type": "perspective", "perspective": {"yfov": 0.8, "znear": 0.1}}],
        "buffers": [{"uri": "scene.bin", "byteLength": 68}],
        "bufferViews": [{"buffer": 0, "byteLength": 36}, {"buffer": 0, "byteOffset": 36, "byteLength": 8},
                        {"buffer": 0, "byteOffset": 44, "byteLength": 24}],
        "accessors": [
            {"bufferView": 0, "componentType": 5126, "count": 3, "type": "VEC3", "min": [-1, -1, 0], "max": [1, 1, 0]},
            {"bufferView": 1, "componentType": 5126, "count": 2, "type": "SCALAR", "min": [0], "max": [1]},
            {"bufferView": 2, "componentType": 5126, "count": 2, "type": "VEC3"}],
        "animations": [{"channels": [{"sampler": 0, "target": {"node": 0, "path": "translation"}}],
                        "samplers": [{"input": 1, "output": 2}]}]})");
    scene["nodes"].push_back(camera_node("Camera01", 5));
    scene["nodes"].push_back(camera_node("Camera02", 3));
    scene["nodes"].push_back({{"name", "Helper"}});
    return scene;
}

json& node_named(json& scene, const std::string& name) {
    for (json& node : scene["nodes"]) {
        if (node["name"] == name) {
            return node;
        }
    }
    throw std::logic_error("no node " + name);
}

json& render_settings(json& scene) {
    return scene["scenes"][0]["extras"]["render"];
}

BitmapPointer make_bitmap(int width, int height) {
    return BitmapPointer(FloatBitmap::make(width, height));
}

std::vector<float> numbers_of(const FloatBitmap& bitmap) {
    const float* first = &bitmap.pixels()->r;
    return {first, first + static_cast<std::ptrdiff_t>(bitmap.Width()) * bitmap.Height() * 4};
}

int RecordingProgress::Progress(int /*done*/, int /*total*/) {
    return m_stop_at < 0 || m_calls++ < m_stop_at ? 1 : 0;
}

CoreTest::CoreTest() {
    m_core.FileReset(TRUE);
}

CoreTest::~CoreTest() {
    m_core.FileReset(TRUE);
    m_core.set_render_hooks({});
    for (int kind = TYPE_MISSING_EXTERNAL_FILES; kind <= TYPE_MISSING_UVWS; ++kind) {
        m_core.GetDefaultActionSystem()->SetDefaultAction(kind, DEFAULT_ACTION_IGNORE, nullptr, nullptr);
    }
}

int CoreTest::load(const json& scene) {
    std::ofstream(m_folder.path() / "scene.bin", std::ios::binary)
        .write(reinterpret_cast<const char*>(buffer), sizeof buffer);
    std::ofstream(scene_file()) << scene;
    return m_core.LoadFromFile(scene_file().c_str(), 6);
}

std::vector<float> CoreTest::render_camera(const char* camera, TimeValue time, ViewParams* view) {
    EXPECT_EQ(1,
              m_core.OpenCurRenderer(m_core.GetINodeByName(camera), nullptr, RENDTYPE_NORMAL, width, height));
    const BitmapPointer bitmap = make_bitmap(width, height);
    EXPECT_EQ(1, m_core.CurRendererRenderFrame(time, bitmap.get(), nullptr, 1.0F, view, nullptr));
    m_core.CloseCurRenderer();
    return numbers_of(*bitmap);
}

}  // namespace corrivane::host::test
