#include "render/texture_lookup.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace corrivane::host {

namespace {

std::array<float, 256> make_linear_table() {
    std::array<float, 256> table{};
    for (std::size_t i = 0; i < table.size(); ++i) {
        const float encoded = static_cast<float>(i) / 255;
        table[i] = encoded <= 0.04045f ? encoded / 12.92f : std::pow((encoded + 0.055f) / 1.055f, 2.4f);
    }
    return table;
}

const std::array<float, 256> linear_table = make_linear_table();

/// A texel index that may be one or two beyond the image, brought back into it.
int wrapped(int i, int size, TextureWrap wrap) {
    if (wrap == TextureWrap::repeat) return i < 0 ? i + size : i >= size ? i - size : i;
    return std::clamp(i, 0, size - 1);
}

/// A coordinate brought into [0, 1]. Mirroring ends at the edges, so that beyond them the edge texel goes on.
float folded(float coordinate, TextureWrap wrap) {
    if (!std::isfinite(coordinate)) return 0;
    switch (wrap) {
        case TextureWrap::clamp_to_edge:
            return std::clamp(coordinate, 0.0f, 1.0f);
        case TextureWrap::mirrored_repeat: {
            const float twice = coordinate / 2 - std::floor(coordinate / 2);
            return twice <= 0.5f ? 2 * twice : 2 - 2 * twice;
        }
        case TextureWrap::repeat:
            break;
    }
    return coordinate - std::floor(coordinate);
}

Imath::C4f texel(const TextureImage& image, int x, int y) {
    const std::uint8_t* rgba =
        &image.rgba[(static_cast<std::size_t>(y) * static_cast<std::size_t>(image.width) +
                     static_cast<std::size_t>(x)) *
                    4];
    return {linear_table[rgba[0]], linear_table[rgba[1]], linear_table[rgba[2]],
            static_cast<float>(rgba[3]) / 255};
}

}  // namespace

float linear_to_srgb(float linear) {
    if (!(linear > 0)) return 0;
    if (linear <= 0.0031308f) return linear * 12.92f;
    // In double, so that 1 stays 1.
    return static_cast<float>(1.055 * static_cast<double>(std::pow(linear, 1 / 2.4f)) - 0.055);
}

float srgb_to_linear(std::uint8_t encoded) {
    return linear_table[encoded];
}

Imath::C4f look_up(const Scene& scene, const Texture& texture, const Imath::V2f& uv) {
    const TextureImage& image = scene.images[static_cast<std::size_t>(texture.image)];
    const float x = folded(uv.x, texture.wrap_u) * static_cast<float>(image.width);
    const float y = folded(uv.y, texture.wrap_v) * static_cast<float>(image.height);
    if (texture.nearest) {
        return texel(image, std::min(static_cast<int>(x), image.width - 1),
                     std::min(static_cast<int>(y), image.height - 1));
    }
    // Texels have their colour at their centres.
    const float left = std::floor(x - 0.5f);
    const float top = std::floor(y - 0.5f);
    const float right_share = x - 0.5f - left;
    const float bottom_share = y - 0.5f - top;
    const int x0 = wrapped(static_cast<int>(left), image.width, texture.wrap_u);
    const int x1 = wrapped(static_cast<int>(left) + 1, image.width, texture.wrap_u);
    const int y0 = wrapped(static_cast<int>(top), image.height, texture.wrap_v);
    const int y1 = wrapped(static_cast<int>(top) + 1, image.height, texture.wrap_v);
    const Imath::C4f above = texel(image, x0, y0) * (1 - right_share) + texel(image, x1, y0) * right_share;
    const Imath::C4f below = texel(image, x0, y1) * (1 - right_share) + texel(image, x1, y1) * right_share;
    return above * (1 - bottom_share) + below * bottom_share;
}

}  // namespace corrivane::host
