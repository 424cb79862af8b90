#include "host/scene/scene_file.h"

#include <cmath>

namespace corrivane::host::test {
namespace {

/// To a thousandth, as a row can write it down.
Json number(float value) {
    return std::isfinite(value) ? Json(std::round(value * 1000.0) / 1000) : Json("infinite");
}

template <typename Vector>
Json numbers(const Vector& vector) {
    Json result = Json::array();
    for (unsigned i = 0; i < Vector::dimensions(); ++i)
        result.push_back(number(vector[static_cast<int>(i)]));
    return result;
}

template <typename Vector>
Json numbers(const std::vector<Vector>& vectors) {
    Json result = Json::array();
    for (const Vector& vector : vectors)
        result.push_back(numbers(vector));
    return result;
}

void describe_primitive(const Scene& scene, const Primitive& primitive, Json& told) {
    told["positions"] = numbers(primitive.positions);
    told["normals"] = numbers(primitive.normals);
    told["uv0"] = numbers(primitive.uvs[0]);
    told["uv1"] = numbers(primitive.uvs[1]);
    told["colors"] = numbers(primitive.colors);
    told["triangles"] = primitive.triangles;
    const Material& material = scene.materials.at(static_cast<std::size_t>(primitive.material));
    const TextureUse& base = material.base_color_texture;
    const TextureUse& glow = material.emissive_texture;
    told["base color"] = numbers(material.base_color);
    told["emissive"] = numbers(material.emissive);
    told["metallic, roughness"] = {number(material.metallic), number(material.roughness)};
    told["alpha"] = {static_cast<int>(material.alpha_mode), number(material.alpha_cutoff)};
    told["sides, unlit"] = {material.double_sided, material.unlit};
    told["textures"] = {{base.texture, base.uv_set}, {glow.texture, glow.uv_set}};
    told["uv of 1, 1"] = numbers(Imath::V2f(1, 1) * base.uv_transform);
}

/// What became of the parts that a SceneFile has; the pose is node 2's after half a second.
Json description_of(const Scene& scene) {
    Json told = {{"warnings", scene.warnings}, {"end", scene.duration}};
    told["counts"] = {scene.nodes.size(),  scene.meshes.size(),    scene.cameras.size(),
                      scene.lights.size(), scene.materials.size(), scene.textures.size(),
                      scene.images.size()};
    for (const SceneNode& node : scene.nodes)
        told["names"].push_back(node.name);
    const Imath::M44f pose = pose_at(scene, 0.5)[2];
    for (const float* row : pose.x)
        told["pose"].push_back(numbers(Imath::V3f(row[0], row[1], row[2])));
    const Projection& lens = scene.cameras.at(0).projection;
    told["lens"] = {static_cast<int>(lens.kind), number(lens.yfov), number(lens.ymag), number(lens.znear),
                    number(lens.zfar)};
    const Light& light = scene.lights.at(0);
    told["light"] = {static_cast<int>(light.kind), number(light.intensity), number(light.range),
                     number(light.inner_cone), number(light.outer_cone)};
    if (!scene.textures.empty()) {
        const Texture& texture = scene.textures[0];
        told["sampler"] = {texture.wrap_u, texture.wrap_v, texture.nearest};
        told["pixels"] = scene.images.at(0).rgba;
    }
    const auto& primitives = scene.meshes.at(0).primitives;
    if (!primitives.empty()) describe_primitive(scene, primitives[0], told);
    return told;
}

/// The rows of what_is_read.json: what is put at which places, and what is then read.
TEST(WhatIsRead, FollowsFromWhatTheFileSays) {
    for (const Json& row : SceneFile::read_cases("what_is_read.json")) {
        SceneFile file;
        for (const auto& [place, value] : row[0].items())
            file.change(place, value);
        Json told;
        const std::string error = message_of([&] { told = description_of(*file.load()); });
        if (row[1].contains("error")) {
            EXPECT_THAT(error, testing::HasSubstr(row[1]["error"].get<std::string>())) << row;
            continue;
        }
        for (const auto& [subject, expected] : row[1].items())
            EXPECT_EQ(told[subject], expected) << subject << " of " << row << error;
    }
}

}  // namespace
}  // namespace corrivane::host::test
