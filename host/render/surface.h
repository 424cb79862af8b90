#pragma once

#include "render/posed_scene.h"
#include "render/ray.h"
#include "scene/scene.h"

namespace corrivane::host {

/// A point of a surface, ready to be shaded. Both normals are on the side that the ray came from.
struct Surface {
    Imath::V3f position{0, 0, 0};
    Imath::V3f normal{0, 0, 0};            ///< smooth, unit length
    Imath::V3f geometric_normal{0, 0, 0};  ///< the triangle's, unit length
    Imath::C3f base_color{0, 0, 0};
    Imath::C3f emissive{0, 0, 0};
    float opacity = 1;  ///< 0 where a mask cuts it away, or where a single-sided surface is seen from behind
    float metallic = 0;
    float roughness = 1;
    bool unlit = false;
};

/// What the ray met there.
Surface surface_at(const Scene& scene, const PosedScene& posed, const Ray& ray, const Hit& hit);

/// How much of a shadow the primitive throws there: its opacity from either side.
float opacity_at(const Scene& scene, const Primitive& primitive, const TrianglePoint& point);

}  // namespace corrivane::host
