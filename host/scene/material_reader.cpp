#include "scene/material_reader.h"

#include "json/shortened.h"
#include "scene/limits.h"
#include "scene/value_readers.h"

namespace corrivane::host {

namespace {

AlphaMode read_alpha_mode(const json::Value& part) {
    const std::string mode = text_or(part, "alphaMode", "OPAQUE");
    if (mode == "OPAQUE") return AlphaMode::opaque;
    if (mode == "BLEND") return AlphaMode::blend;
    if (mode == "MASK") return AlphaMode::mask;
    part.fail("no alphaMode \"" + json::shortened(mode) + "\"");
}

}  // namespace

int MaterialReader::material_of(const json::Value& primitive) {
    const auto index = m_materials.find(primitive, "material");
    if (!index) {
        if (m_default < 0) m_default = add({});
        return m_default;
    }
    const auto found = m_read.find(*index);
    if (found != m_read.end()) return found->second;
    return m_read.emplace(*index, add(read(m_materials[*index]))).first->second;
}

int MaterialReader::add(Material material) {
    m_scene.materials.push_back(std::move(material));
    return static_cast<int>(m_scene.materials.size()) - 1;
}

Material MaterialReader::read(const json::Value& part) {
    constexpr Range unit{0, 1};
    Material material;
    material.name = text_or(part, "name", "");
    if (const auto pbr = part.find("pbrMetallicRoughness")) {
        const auto color = numbers_or<4>(*pbr, "baseColorFactor", unit, {1, 1, 1, 1});
        material.base_color = {color[0], color[1], color[2], color[3]};
        material.base_color_texture = m_textures.read_use(*pbr, "baseColorTexture");
        material.metallic = number_or(*pbr, "metallicFactor", unit, 1);
        material.roughness = number_or(*pbr, "roughnessFactor", unit, 1);
    }
    const auto emissive = numbers_or<3>(part, "emissiveFactor", unit, {0, 0, 0});
    material.emissive = {emissive[0], emissive[1], emissive[2]};
    material.emissive_texture = m_textures.read_use(part, "emissiveTexture");
    material.alpha_mode = read_alpha_mode(part);
    material.alpha_cutoff = number_or(part, "alphaCutoff", {0, limits::length}, 0.5f);
    material.double_sided = flag_or(part, "doubleSided", false);
    material.unlit = find_extension(part, "KHR_materials_unlit").has_value();
    if (const auto strength = find_extension(part, "KHR_materials_emissive_strength")) {
        material.emissive *= number_or(*strength, "emissiveStrength", {0, limits::length}, 1);
    }
    return material;
}

int MaterialReader::without_textures(int material) {
    const auto found = m_without_textures.find(material);
    if (found != m_without_textures.end()) return found->second;
    Material copy = m_scene.materials[static_cast<std::size_t>(material)];
    copy.base_color_texture.texture = -1;
    copy.emissive_texture.texture = -1;
    return m_without_textures.emplace(material, add(std::move(copy))).first->second;
}

}  // namespace corrivane::host
