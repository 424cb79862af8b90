#include "render/surface.h"

#include "render/texture_lookup.h"

#include <algorithm>
#include <cmath>

namespace corrivane::host {

namespace {

const Primitive& primitive_of(const Scene& scene, const Hit& hit) {
    const SceneNode& node = scene.nodes[static_cast<std::size_t>(hit.node)];
    return scene.meshes[static_cast<std::size_t>(node.mesh)]
        .primitives[static_cast<std::size_t>(hit.primitive)];
}

/// A vertex attribute at that point.
template <typename T>
T blend(const std::vector<T>& values, const Primitive& primitive, const TrianglePoint& point) {
    const auto& corners = primitive.triangles[static_cast<std::size_t>(point.triangle)];
    return values[corners[0]] * (1 - point.u - point.v) + values[corners[1]] * point.u +
           values[corners[2]] * point.v;
}

Imath::C4f look_up(const Scene& scene, const TextureUse& use, const Primitive& primitive,
                   const TrianglePoint& point) {
    const Imath::V2f uv = blend(primitive.uvs[static_cast<std::size_t>(use.uv_set)], primitive, point);
    return look_up(scene, scene.textures[static_cast<std::size_t>(use.texture)], uv * use.uv_transform);
}

Imath::C4f base_color(const Scene& scene, const Material& material, const Primitive& primitive,
                      const TrianglePoint& point) {
    Imath::C4f color = material.base_color;
    if (material.base_color_texture.texture >= 0) {
        color *= look_up(scene, material.base_color_texture, primitive, point);
    }
    if (!primitive.colors.empty()) color *= blend(primitive.colors, primitive, point);
    return color;
}

float opacity_of(const Material& material, float alpha) {
    switch (material.alpha_mode) {
        case AlphaMode::opaque:
            return 1;
        case AlphaMode::mask:
            return alpha >= material.alpha_cutoff ? 1.0f : 0.0f;
        case AlphaMode::blend:
            break;
    }
    return std::clamp(alpha, 0.0f, 1.0f);
}

/// `fallback` for a vector that has no direction.
Imath::V3f unit(const Imath::V3f& vector, const Imath::V3f& fallback) {
    const float length = vector.length();
    return length > 0 && std::isfinite(length) ? vector / length : fallback;
}

Imath::V3f triangle_normal(const Primitive& primitive, int index) {
    const auto& triangle = primitive.triangles[static_cast<std::size_t>(index)];
    const Imath::V3f& a = primitive.positions[triangle[0]];
    return (primitive.positions[triangle[1]] - a).cross(primitive.positions[triangle[2]] - a);
}

}  // namespace

Surface surface_at(const Scene& scene, const PosedScene& posed, const Ray& ray, const Hit& hit) {
    const Primitive& primitive = primitive_of(scene, hit);
    const Material& material = scene.materials[static_cast<std::size_t>(primitive.material)];
    const Imath::M33f& to_world = posed.normal_matrix(hit.node);

    Surface surface;
    surface.position = ray.origin + ray.direction * hit.distance;
    surface.geometric_normal =
        unit(triangle_normal(primitive, hit.point.triangle) * to_world, -ray.direction);
    surface.normal = surface.geometric_normal;
    if (!primitive.normals.empty()) {
        surface.normal =
            unit(blend(primitive.normals, primitive, hit.point) * to_world, surface.geometric_normal);
        if (surface.normal.dot(surface.geometric_normal) < 0) surface.normal = -surface.normal;
    }
    const bool from_behind = surface.geometric_normal.dot(ray.direction) > 0;
    if (from_behind) {
        surface.geometric_normal = -surface.geometric_normal;
        surface.normal = -surface.normal;
    }

    const Imath::C4f color = base_color(scene, material, primitive, hit.point);
    surface.base_color = {color.r, color.g, color.b};
    surface.opacity = from_behind && !material.double_sided ? 0 : opacity_of(material, color.a);
    surface.emissive = material.emissive;
    if (material.emissive_texture.texture >= 0) {
        const Imath::C4f glow = look_up(scene, material.emissive_texture, primitive, hit.point);
        surface.emissive *= Imath::C3f(glow.r, glow.g, glow.b);
    }
    surface.metallic = material.metallic;
    surface.roughness = material.roughness;
    surface.unlit = material.unlit;
    return surface;
}

float opacity_at(const Scene& scene, const Primitive& primitive, const TrianglePoint& point) {
    const Material& material = scene.materials[static_cast<std::size_t>(primitive.material)];
    return opacity_of(material, base_color(scene, material, primitive, point).a);
}

}  // namespace corrivane::host
