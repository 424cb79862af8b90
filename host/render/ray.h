#pragma once

#include <ImathVec.h>

namespace corrivane::host {

struct Ray {
    Imath::V3f origin{0, 0, 0};
    Imath::V3f direction{0, 0, 0};  ///< unit length, so that distances are lengths
    float near = 0;
    float far = 0;
};

/// A place in a primitive.
struct TrianglePoint {
    int triangle = -1;
    float u = 0;  ///< share of the triangle's second corner
    float v = 0;  ///< share of its third corner
};

/// What a ray met first.
struct Hit {
    float distance = 0;
    int node = -1;
    int primitive = -1;  ///< of the node's mesh
    TrianglePoint point;
};

}  // namespace corrivane::host
