#include "scene/image_decoder.h"
#include "scene/part_readers.h"

#include <cmath>

namespace corrivane::host {

namespace {

class MaterialReader {
public:
    MaterialReader(LoadContext& context, const GltfDocument& document, AccessorReader& accessors,
                   Scene& scene)
        : m_context(context), m_document(document), m_accessors(accessors), m_scene(scene) {}

    void read_all();

private:
    Material read_material(const tinygltf::Material& source, const std::string& who);
    TextureUse read_use(const tinygltf::TextureInfo& source, const std::string& who);
    Texture read_texture(std::size_t index);
    TextureWrap read_wrap(int mode, const std::string& who);
    void read_images();
    TextureImage read_image(std::size_t index);
    Imath::M33f read_uv_transform(const tinygltf::Value& transform, const std::string& who);
    std::vector<float> numbers(const tinygltf::Value& object, const char* key, std::vector<float> fallback,
                               const std::string& who);

    const tinygltf::Model& model() const { return m_document.model; }

    LoadContext& m_context;
    const GltfDocument& m_document;
    AccessorReader& m_accessors;
    Scene& m_scene;
};

void MaterialReader::read_all() {
    for (std::size_t i = 0; i < model().textures.size(); ++i)
        m_scene.textures.push_back(read_texture(i));
    for (std::size_t i = 0; i < model().materials.size(); ++i) {
        m_scene.materials.push_back(read_material(model().materials[i], numbered("material", i)));
    }
    m_scene.materials.emplace_back();
    read_images();
}

Material MaterialReader::read_material(const tinygltf::Material& source, const std::string& who) {
    const tinygltf::PbrMetallicRoughness& pbr = source.pbrMetallicRoughness;
    Material material;
    material.name = source.name;
    for (int c = 0; c < 4; ++c) {
        material.base_color[c] =
            m_context.number(pbr.baseColorFactor[std::size_t(c)], 0, 1, who + ": baseColorFactor");
    }
    material.base_color_texture = read_use(pbr.baseColorTexture, who + ": baseColorTexture");
    material.metallic = m_context.number(pbr.metallicFactor, 0, 1, who + ": metallicFactor");
    material.roughness = m_context.number(pbr.roughnessFactor, 0, 1, who + ": roughnessFactor");
    for (int c = 0; c < 3; ++c) {
        material.emissive[c] =
            m_context.number(source.emissiveFactor[std::size_t(c)], 0, 1, who + ": emissiveFactor");
    }
    material.emissive_texture = read_use(source.emissiveTexture, who + ": emissiveTexture");
    material.alpha_cutoff = m_context.number(source.alphaCutoff, 0, 1e6, who + ": alphaCutoff");
    material.double_sided = source.doubleSided;
    if (source.alphaMode == "BLEND") {
        material.alpha_mode = AlphaMode::blend;
    } else if (source.alphaMode == "MASK") {
        material.alpha_mode = AlphaMode::mask;
    } else if (source.alphaMode != "OPAQUE") {
        m_context.fail(who + ": no alphaMode \"" + source.alphaMode + "\"");
    }
    material.unlit = source.extensions.count("KHR_materials_unlit") != 0;
    const auto strength = source.extensions.find("KHR_materials_emissive_strength");
    if (strength != source.extensions.end()) {
        material.emissive *= numbers(strength->second, "emissiveStrength", {1}, who)[0];
    }
    return material;
}

TextureUse MaterialReader::read_use(const tinygltf::TextureInfo& source, const std::string& who) {
    TextureUse use;
    if (source.index == -1) return use;
    const std::size_t index = m_context.index(source.index, m_scene.textures.size(), "texture", who);
    use.uv_set = source.texCoord;
    const auto transform = source.extensions.find("KHR_texture_transform");
    if (transform != source.extensions.end()) {
        use.uv_transform = read_uv_transform(transform->second, who);
        const float set = numbers(transform->second, "texCoord", {float(use.uv_set)}, who)[0];
        use.uv_set = set >= 0 && set < 1000 ? int(set) : -1;
    }
    if (use.uv_set < 0 || use.uv_set > 1) m_context.fail(who + ": only texCoord 0 and 1 are supported");
    // A texture without an image that we can read (an extension's format) leaves the factor alone.
    if (m_scene.textures[index].image >= 0) {
        use.texture = source.index;
    } else {
        m_context.warn(who + ": texture " + std::to_string(source.index) + " has no PNG or JPEG image");
    }
    return use;
}

/// uv' = translation * rotation * scale * uv in the extension's column vectors; v points down, so its
/// counter-clockwise rotation has the minus sign below.
Imath::M33f MaterialReader::read_uv_transform(const tinygltf::Value& transform, const std::string& who) {
    const std::vector<float> offset = numbers(transform, "offset", {0, 0}, who);
    const std::vector<float> scale = numbers(transform, "scale", {1, 1}, who);
    const float angle = numbers(transform, "rotation", {0}, who)[0];
    const float c = std::cos(angle);
    const float s = std::sin(angle);
    return {c * scale[0], -s * scale[0], 0, s * scale[1], c * scale[1], 0, offset[0], offset[1], 1};
}

std::vector<float> MaterialReader::numbers(const tinygltf::Value& object, const char* key,
                                           std::vector<float> fallback, const std::string& who) {
    if (!object.Has(key)) return fallback;
    const tinygltf::Value& value = object.Get(key);
    const bool single = fallback.size() == 1;
    if (single ? !value.IsNumber() : value.ArrayLen() != fallback.size()) {
        m_context.fail(who + ": " + key + " should be " + std::to_string(fallback.size()) + " numbers");
    }
    for (std::size_t i = 0; i < fallback.size(); ++i) {
        const tinygltf::Value& number = single ? value : value.Get(static_cast<int>(i));
        if (!number.IsNumber()) m_context.fail(who + ": " + key + " should hold numbers");
        fallback[i] = m_context.number(number.GetNumberAsDouble(), -1e6, 1e6, who + ": " + key);
    }
    return fallback;
}

Texture MaterialReader::read_texture(std::size_t index) {
    const tinygltf::Texture& source = model().textures[index];
    const std::string who = numbered("texture", index);
    Texture texture;
    texture.image = m_context.optional_index(source.source, model().images.size(), "image", who);
    if (source.sampler == -1) return texture;
    const tinygltf::Sampler& sampler =
        model().samplers[m_context.index(source.sampler, model().samplers.size(), "sampler", who)];
    texture.wrap_u = read_wrap(sampler.wrapS, who);
    texture.wrap_v = read_wrap(sampler.wrapT, who);
    texture.nearest = sampler.magFilter == TINYGLTF_TEXTURE_FILTER_NEAREST;
    return texture;
}

TextureWrap MaterialReader::read_wrap(int mode, const std::string& who) {
    switch (mode) {
        case TINYGLTF_TEXTURE_WRAP_REPEAT:
            return TextureWrap::repeat;
        case TINYGLTF_TEXTURE_WRAP_CLAMP_TO_EDGE:
            return TextureWrap::clamp_to_edge;
        case TINYGLTF_TEXTURE_WRAP_MIRRORED_REPEAT:
            return TextureWrap::mirrored_repeat;
        default:
            m_context.fail(who + ": no wrap mode " + std::to_string(mode));
    }
}

void MaterialReader::read_images() {
    std::vector<bool> used(model().images.size(), false);
    for (const Material& material : m_scene.materials) {
        for (const TextureUse* use : {&material.base_color_texture, &material.emissive_texture}) {
            if (use->texture < 0) continue;
            used[std::size_t(m_scene.textures[std::size_t(use->texture)].image)] = true;
        }
    }
    for (std::size_t i = 0; i < used.size(); ++i) {
        m_scene.images.push_back(used[i] ? read_image(i) : TextureImage{});
    }
}

TextureImage MaterialReader::read_image(std::size_t index) {
    const tinygltf::Image& source = model().images[index];
    const std::string who = numbered("image", index) + (source.uri.empty() ? "" : " (" + source.uri + ")");
    if (source.bufferView >= 0) {
        if (m_accessors.is_view_missing(source.bufferView)) return missing_image();
        return decode_image(m_context, m_accessors.view_bytes(source.bufferView, who), who);
    }
    // The document reader has reported the file already.
    if (source.image.empty()) return missing_image();
    return decode_image(m_context, {source.image.data(), source.image.size()}, who);
}

}  // namespace

void read_materials(LoadContext& context, const GltfDocument& document, AccessorReader& accessors,
                    Scene& scene) {
    MaterialReader(context, document, accessors, scene).read_all();
}

}  // namespace corrivane::host
