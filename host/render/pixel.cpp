#include "render/pixel.h"

#include "render/texture_lookup.h"

#include <algorithm>
#include <cmath>

namespace corrivane::host {

namespace {

Imath::V3f encoded(const Imath::C3f& linear) {
    return {linear_to_srgb(linear.x), linear_to_srgb(linear.y), linear_to_srgb(linear.z)};
}

/// Image files know no NaN; a number that left float's range on its way must not spoil a frame.
void store(std::span<float> rgba, std::size_t index, const Imath::V3f& rgb, float alpha) {
    for (int c = 0; c < 3; ++c)
        rgba[index * 4 + std::size_t(c)] = std::isfinite(rgb[c]) ? rgb[c] : 0;
    rgba[index * 4 + 3] = alpha;
}

}  // namespace

void Pixel::add(const RaySample& sample, float depth) {
    if (sample.alpha == 0) return;
    m_color += sample.color;
    m_albedo += sample.albedo;
    m_normal += Imath::V3f(0.5f) + sample.normal * 0.5f;
    m_alpha += sample.alpha;
    m_openness += sample.openness;
    m_depth = std::min(m_depth, depth);
}

void Pixel::write(const FrameBuffers& buffers, std::size_t index, int samples) const {
    const float share = 1 / static_cast<float>(samples);
    const float alpha = std::min(m_alpha * share, 1.0f);
    store(buffers.beauty, index, encoded(m_color * share), alpha);
    for (const ElementBuffer& buffer : buffers.elements) {
        store(buffer.rgba, index, element(buffer.type, share), alpha);
    }
}

Imath::V3f Pixel::element(ElementType type, float share) const {
    if (m_alpha == 0) return Imath::V3f(0);
    switch (type) {
        case ElementType::depth:
            return Imath::V3f(m_depth);
        case ElementType::normal:
            return m_normal * share;
        case ElementType::albedo:
            return encoded(m_albedo * share);
        case ElementType::alpha:
            return Imath::V3f(std::min(m_alpha * share, 1.0f));
        case ElementType::ambient_occlusion:
            return Imath::V3f(m_openness * share);
    }
    return Imath::V3f(0);
}

}  // namespace corrivane::host
