#pragma once

#include "render/renderer.h"
#include "support/test.h"

#include <cmath>

namespace corrivane::host::test {

/// Puts a scene together in memory. Its node 0 is a camera at (0, 0, 10) that looks at the origin with a field of
/// view that is 10 high there.
struct RenderScene : Scene {
    RenderScene() : Scene() {
        SceneNode& camera = add_node({0, 0, 10});
        camera.camera = 0;
        cameras.resize(1);
        cameras[0].projection.yfov = 2 * std::atan(0.5f);
    }

    /// What these return holds until the next one is added.
    SceneNode& add_node(const Imath::V3f& place) {
        nodes.emplace_back().transform.translation = place;
        return nodes.back();
    }
    /// A square from -side/2 to side/2, facing +z, at that place.
    SceneNode& add_square(float side, const Imath::V3f& place, const Material& material) {
        const float h = side / 2;
        Primitive primitive;
        primitive.positions = {{-h, -h, 0}, {h, -h, 0}, {h, h, 0}, {-h, h, 0}};
        primitive.uvs[0] = {{0, 1}, {1, 1}, {1, 0}, {0, 0}};
        primitive.triangles = {{0, 1, 2}, {0, 2, 3}};
        primitive.material = static_cast<int>(materials.size());
        materials.push_back(material);
        SceneNode& node = add_node(place);
        node.mesh = static_cast<int>(meshes.size());
        meshes.push_back({"Square", {primitive}});
        return node;
    }
    SceneNode& add_light(float intensity, const Imath::V3f& place) {
        SceneNode& node = add_node(place);
        node.light = static_cast<int>(lights.size());
        lights.emplace_back().intensity = intensity;
        return node;
    }

    std::shared_ptr<const Scene> share() const { return std::make_shared<const Scene>(*this); }
};

/// A material that shows its colour as it is.
inline Material flat_color(float red, float green, float blue, float alpha = 1) {
    Material material;
    material.base_color = {red, green, blue, alpha};
    material.unlit = true;
    if (alpha < 1) material.alpha_mode = AlphaMode::blend;
    return material;
}

/// A rendered image.
struct Image {
    int width = 0;
    int height = 0;
    std::vector<float> rgba;

    std::vector<float> at(int x, int y) const {
        const auto pixel = rgba.begin() + std::ptrdiff_t{4} * (y * width + x);
        return {pixel, pixel + 4};
    }
    bool operator==(const Image&) const = default;
};

/// What a render with these elements gives: the beauty first, then the elements in their order.
inline std::vector<Image> render(Renderer& renderer, const RenderRequest& request,
                                 const std::vector<ElementType>& elements = {}) {
    const PixelRect area = request.region.value_or(PixelRect{0, 0, request.width, request.height});
    const auto size = static_cast<std::size_t>(area.width() * area.height()) * 4;
    // Filled with what no render writes, so that a pixel left out shows.
    std::vector<Image> images(elements.size() + 1,
                              {area.width(), area.height(), std::vector<float>(size, -7)});
    FrameBuffers buffers{images[0].rgba, {}};
    for (std::size_t i = 0; i < elements.size(); ++i)
        buffers.elements.push_back({elements[i], images[i + 1].rgba});
    renderer.render(request, buffers);
    return images;
}

}  // namespace corrivane::host::test
