#include "host/render/render_scene.h"

#include <cmath>

namespace corrivane::host::test {

RenderScene::RenderScene() {
    scene.nodes.resize(1);
    scene.nodes[0].name = "Camera";
    scene.nodes[0].camera = 0;
    scene.nodes[0].transform.translation = {0, 0, 10};
    scene.cameras.resize(1);
    scene.cameras[0].projection.yfov = 2 * std::atan(0.5f);
}

int RenderScene::add_square(float side, const Imath::V3f& place, const Material& material) {
    const float h = side / 2;
    Primitive primitive;
    primitive.positions = {{-h, -h, 0}, {h, -h, 0}, {h, h, 0}, {-h, h, 0}};
    primitive.uvs[0] = {{0, 1}, {1, 1}, {1, 0}, {0, 0}};
    primitive.triangles = {{0, 1, 2}, {0, 2, 3}};
    primitive.material = static_cast<int>(scene.materials.size());
    scene.materials.push_back(material);
    scene.meshes.push_back({"Square", {primitive}});
    SceneNode node;
    node.mesh = static_cast<int>(scene.meshes.size()) - 1;
    node.transform.translation = place;
    scene.nodes.push_back(node);
    return static_cast<int>(scene.nodes.size()) - 1;
}

int RenderScene::add_light(const Light& light, const Imath::V3f& place) {
    SceneNode node;
    node.light = static_cast<int>(scene.lights.size());
    node.transform.translation = place;
    scene.lights.push_back(light);
    scene.nodes.push_back(node);
    return static_cast<int>(scene.nodes.size()) - 1;
}

Material flat_color(float red, float green, float blue, float alpha) {
    Material material;
    material.base_color = {red, green, blue, alpha};
    material.unlit = true;
    if (alpha < 1) material.alpha_mode = AlphaMode::blend;
    return material;
}

std::vector<float> Image::at(int x, int y) const {
    const auto index = static_cast<std::size_t>(y * width + x) * 4;
    return {rgba.at(index), rgba.at(index + 1), rgba.at(index + 2), rgba.at(index + 3)};
}

std::vector<Image> render(Renderer& renderer, const RenderRequest& request,
                          const std::vector<ElementType>& elements) {
    const PixelRect area = request.region.value_or(PixelRect{0, 0, request.width, request.height});
    const auto size = static_cast<std::size_t>(area.width() * area.height()) * 4;
    // Filled with what no render writes, so that a pixel left out shows.
    std::vector<Image> images(elements.size() + 1,
                              {area.width(), area.height(), std::vector<float>(size, -7)});
    FrameBuffers buffers;
    buffers.beauty = images[0].rgba;
    for (std::size_t i = 0; i < elements.size(); ++i) {
        buffers.elements.push_back({elements[i], images[i + 1].rgba});
    }
    renderer.render(request, buffers);
    return images;
}

void ProgressLog::set_title(const char* title) {
    const std::lock_guard lock(m_mutex);
    m_phases.push_back({title, {}});
}

bool ProgressLog::progress(int done, int total) {
    const std::lock_guard lock(m_mutex);
    m_phases.back().reports.emplace_back(done, total);
    return m_reports++ != m_stop_at;
}

std::vector<ProgressLog::Phase> ProgressLog::phases() const {
    const std::lock_guard lock(m_mutex);
    return m_phases;
}

}  // namespace corrivane::host::test
