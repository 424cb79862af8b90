#pragma once

#include "scene/scene.h"

#include <vector>

namespace corrivane::host {

/// A light of the scene in its place for one frame.
struct PlacedLight {
    Light::Kind kind = Light::Kind::point;
    Imath::V3f position{0, 0, 0};
    Imath::V3f direction{0, 0, 0};  ///< that it shines in; unit length
    Imath::C3f intensity{0, 0, 0};  ///< candela or lux, in colour
    float range = 0;
    float cone_scale =
        0;  ///< spot: brightness across the cone is (cosine * scale + offset), clamped, squared
    float cone_offset = 0;
};

/// What a light does at a point, if nothing is between.
struct Illumination {
    Imath::C3f irradiance{0, 0, 0};  ///< on a surface that faces the light
    Imath::V3f towards{0, 0, 0};     ///< unit length
    float distance = 0;              ///< infinite for directional lights
};

std::vector<PlacedLight> place_lights(const Scene& scene, const Pose& pose);

Illumination illumination_at(const PlacedLight& light, const Imath::V3f& point);

}  // namespace corrivane::host
