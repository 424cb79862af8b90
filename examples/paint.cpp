#include "paint.h"

#include <png.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Imath::C3f;

float fraction(float value) {
    return value - std::floor(value);
}

C3f mix(const C3f& a, const C3f& b, float share) {
    return a + (b - a) * std::clamp(share, 0.0f, 1.0f);
}

/// A repeatable number from 0 to 1 for a grid point.
float noise(int x, int y) {
    auto h = static_cast<std::uint32_t>(x) * 374761393u + static_cast<std::uint32_t>(y) * 668265263u;
    h = (h ^ h >> 13) * 1274126177u;
    return static_cast<float>((h ^ h >> 16) & 0xffff) / 65535;
}

/// 1 within `width` of a multiple of `period`.
bool on_line(float value, float period, float width) {
    const float rest = fraction(value / period) * period;
    return rest < width || rest > period - width;
}

std::vector<unsigned char> encoded(const std::vector<unsigned char>& rgb, int side) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = image.height = static_cast<png_uint_32>(side);
    image.format = PNG_FORMAT_RGB;
    png_alloc_size_t size = PNG_IMAGE_PNG_SIZE_MAX(image);
    std::vector<unsigned char> bytes(size);
    if (png_image_write_to_memory(&image, bytes.data(), &size, 0, rgb.data(), 0, nullptr) == 0) {
        throw std::runtime_error("an image cannot be encoded");
    }
    bytes.resize(size);
    return bytes;
}

std::string base64(const std::vector<unsigned char>& bytes) {
    static constexpr char digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        std::uint32_t group = 0;
        for (std::size_t k = 0; k < 3; ++k)
            group = group << 8 | (i + k < bytes.size() ? bytes[i + k] : 0u);
        for (std::size_t k = 0; k < 4; ++k)
            text += i + k <= bytes.size() ? digits[group >> (18 - 6 * k) & 63] : '=';
    }
    return text;
}

}  // namespace

std::string png_uri(const Paint& paint, int side) {
    std::vector<unsigned char> rgb;
    for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x) {
            const float scale = 1 / static_cast<float>(side);
            const C3f color =
                paint((static_cast<float>(x) + 0.5f) * scale, (static_cast<float>(y) + 0.5f) * scale);
            for (int c = 0; c < 3; ++c)
                rgb.push_back(
                    static_cast<unsigned char>(std::lround(std::clamp(color[c], 0.0f, 1.0f) * 255)));
        }
    }
    return "data:image/png;base64," + base64(encoded(rgb, side));
}

C3f beach_ball(float u, float v) {
    static constexpr float cap = 0.07f;
    if (v < cap || v > 1 - cap) return {0.96f, 0.95f, 0.92f};
    static const C3f stripes[] = {{0.90f, 0.22f, 0.20f}, {0.97f, 0.95f, 0.90f}, {0.16f, 0.50f, 0.82f},
                                  {0.97f, 0.95f, 0.90f}, {0.98f, 0.76f, 0.18f}, {0.97f, 0.95f, 0.90f}};
    return stripes[std::min(static_cast<int>(u * 6), 5)];
}

C3f crate(float u, float v) {
    const C3f teal(0.10f, 0.55f, 0.55f);
    const C3f cream(0.95f, 0.90f, 0.78f);
    const float diagonal = fraction(u * 8 + v * 4);
    if (on_line(v, 0.25f, 0.012f)) return {0.98f, 0.72f, 0.25f};
    return mix(teal, cream, diagonal < 0.5f ? 0.0f : 1.0f);
}

C3f wood_rings(float u, float v) {
    const int plank = static_cast<int>(u * 24);
    const float grain = 0.5f + 0.5f * std::sin(v * 90 + 6 * std::sin(u * 40 + 9 * noise(plank, 3)));
    const C3f tone = mix({0.55f, 0.33f, 0.18f}, {0.78f, 0.54f, 0.33f}, 0.25f + 0.5f * noise(plank, 7));
    const C3f dark = tone * 0.82f;
    if (on_line(u, 1.0f / 24, 0.0012f)) return {0.22f, 0.13f, 0.08f};
    return mix(tone, dark, grain * 0.6f);
}
