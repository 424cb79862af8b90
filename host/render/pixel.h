#pragma once

#include "render/renderer.h"
#include "render/shader.h"

#include <limits>

namespace corrivane::host {

/// What the camera rays of one pixel saw, added up, and how that is written to the buffers of a frame.
class Pixel {
public:
    /// `depth` is the sample's distance as RenderRequest's depth element counts it.
    void add(const RaySample& sample, float depth);

    /// The mean of `samples` rays, into pixel `index` of every buffer.
    void write(const FrameBuffers& buffers, std::size_t index, int samples) const;

private:
    Imath::V3f element(ElementType type, float share) const;

    Imath::C3f m_color{0, 0, 0};
    Imath::C3f m_albedo{0, 0, 0};
    Imath::V3f m_normal{0, 0, 0};
    float m_alpha = 0;
    float m_openness = 0;
    float m_depth = std::numeric_limits<float>::infinity();
};

}  // namespace corrivane::host
