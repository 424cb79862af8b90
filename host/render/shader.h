#pragma once

#include "render/lights.h"
#include "render/posed_scene.h"
#include "render/surface.h"

#include <cstdint>
#include <vector>

namespace corrivane::host {

/// What one camera ray saw. All but depth are 0 where it saw nothing; colours are linear.
struct RaySample {
    Imath::C3f color{0, 0, 0};  ///< with what shows through transparent surfaces; multiplied by coverage
    float alpha = 0;            ///< coverage
    /// Of the nearest surface that is not cut away:
    float distance = 0;
    Imath::V3f normal{0, 0, 0};
    Imath::C3f albedo{0, 0, 0};
    float openness = 0;  ///< ambient occlusion: 1 open, 0 enclosed
};

/// Which numbers a camera ray may use: spread_point(seed, index …) of its pixel.
struct SampleSeed {
    std::uint32_t pixel = 0;
    std::uint32_t sample = 0;
};

/// Shades what rays meet in one frame: direct light of all lights with shadows, soft light from the sky where
/// nothing is in its way, and one mirror reflection on smooth surfaces. Unchanged while threads use it.
class Shader {
public:
    /// `headlight` is the direction of the light that a scene without lights gets. `samples` is the number of
    /// camera rays a pixel; `sky_reach` the distance within which surfaces shield each other from the sky.
    Shader(const Scene& scene, const PosedScene& posed, const Imath::V3f& headlight, int samples,
           float sky_reach);

    RaySample look_along(const Ray& ray, SampleSeed seed) const;

private:
    bool next_surface(Ray& ray, Surface& surface, float& distance) const;
    Imath::C3f shade(const Surface& surface, const Imath::V3f& towards_eye, float openness) const;
    Imath::C3f reflection(const Surface& surface, const Imath::V3f& towards_eye) const;
    Imath::C3f direct_light(const Surface& surface, const Imath::V3f& towards_eye) const;
    Imath::C3f sky(const Imath::V3f& direction) const;
    float openness_of(const Surface& surface, SampleSeed seed) const;
    /// 1 when nothing is on the way, 0 when something opaque is.
    float visibility(const Surface& from, const Imath::V3f& towards, float distance) const;

    const Scene& m_scene;
    const PosedScene& m_posed;
    std::vector<PlacedLight> m_lights;
    float m_sky_strength;
    float m_sky_reach;
    std::uint32_t m_sky_rays;  ///< a camera ray
};

}  // namespace corrivane::host
