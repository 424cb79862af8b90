#include "scene/texture_reader.h"

#include "scene/image_decoder.h"
#include "scene/limits.h"
#include "scene/value_readers.h"

#include <cmath>
#include <limits>

namespace corrivane::host {

namespace {

constexpr int largest_int = std::numeric_limits<int>::max();

/// uv' = translation * rotation * scale * uv in the extension's column vectors; v points down, so its
/// counter-clockwise rotation has the minus sign below.
Imath::M33f read_uv_transform(const json::Value& transform) {
    constexpr Range range{-limits::length, limits::length};
    const auto offset = numbers_or<2>(transform, "offset", range, {0, 0});
    const auto scale = numbers_or<2>(transform, "scale", range, {1, 1});
    const float angle = number_or(transform, "rotation", range, 0);
    const float c = std::cos(angle);
    const float s = std::sin(angle);
    return {c * scale[0], -s * scale[0], 0, s * scale[1], c * scale[1], 0, offset[0], offset[1], 1};
}

}  // namespace

TextureUse TextureReader::read_use(const json::Value& owner, std::string_view key) {
    TextureUse use;
    const auto part = owner.find(key);
    if (!part) return use;
    const std::size_t index = m_textures.at(*part, "index");
    use.uv_set = whole_or(*part, "texCoord", 0, largest_int, 0);
    if (const auto transform = find_extension(*part, "KHR_texture_transform")) {
        use.uv_transform = read_uv_transform(*transform);
        use.uv_set = whole_or(*transform, "texCoord", 0, largest_int, use.uv_set);
    }
    if (use.uv_set > 1) {
        m_context.warn(*part, "left out, only texCoord 0 and 1 are supported");
        return {};
    }
    use.texture = texture(index);
    if (use.texture < 0) {
        m_context.warn(*part, "texture " + std::to_string(index) + " has no PNG or JPEG image");
    }
    return use;
}

int TextureReader::texture(std::size_t index) {
    const auto found = m_read_textures.find(index);
    if (found != m_read_textures.end()) return found->second;
    return m_read_textures.emplace(index, read_texture(m_textures[index])).first->second;
}

int TextureReader::read_texture(const json::Value& part) {
    const auto source = m_images.find(part, "source");
    if (!source) return -1;
    Texture texture;
    if (const auto sampler = m_samplers.find(part, "sampler")) {
        constexpr int nearest = 9728;
        texture.wrap_u = read_wrap(part, m_samplers[*sampler], "wrapS");
        texture.wrap_v = read_wrap(part, m_samplers[*sampler], "wrapT");
        texture.nearest = whole_or(m_samplers[*sampler], "magFilter", 0, largest_int, 0) == nearest;
    }
    texture.image = image(*source);
    m_scene.textures.push_back(texture);
    return static_cast<int>(m_scene.textures.size()) - 1;
}

TextureWrap TextureReader::read_wrap(const json::Value& texture, const json::Value& sampler,
                                     std::string_view key) const {
    constexpr int repeat = 10497;
    const int mode = whole_or(sampler, key, 0, largest_int, repeat);
    switch (mode) {
        case repeat:
            return TextureWrap::repeat;
        case 33071:
            return TextureWrap::clamp_to_edge;
        case 33648:
            return TextureWrap::mirrored_repeat;
        default:
            texture.fail("no wrap mode " + std::to_string(mode));
    }
}

int TextureReader::image(std::size_t index) {
    const auto [found, added] = m_read_images.try_emplace(index, static_cast<int>(m_scene.images.size()));
    if (added) m_scene.images.push_back(read_image(m_images[index]));
    return found->second;
}

TextureImage TextureReader::read_image(const json::Value& part) {
    if (const auto view = m_buffers.find_view(part, "bufferView")) {
        return view->bytes ? decode_image(m_context, *view->bytes, part) : missing_image();
    }
    const auto uri = part.find("uri");
    if (!uri) part.fail("neither uri nor bufferView");
    const ExternalFiles::Bytes bytes = m_files.read(*uri);
    TextureImage image =
        bytes == nullptr ? missing_image() : decode_image(m_context, {bytes->data(), bytes->size()}, part);
    image.file = ExternalFiles::name_of(*uri);
    image.missing = bytes == nullptr;
    return image;
}

}  // namespace corrivane::host
