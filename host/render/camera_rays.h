#pragma once

#include "render/posed_scene.h"
#include "render/view.h"

namespace corrivane::host {

/// The rays of an image. The view's height fills the image's, and the image's proportions decide the width.
class CameraRays {
public:
    /// Throws std::invalid_argument when the projection is not usable (a field of view of 0, say).
    CameraRays(const View& view, int width, int height, float pixel_aspect);

    /// Through that point of the image: pixels from the top left corner.
    Ray through(const Imath::V2f& point) const;
    /// A distance along a ray as a distance from the plane through the camera.
    float depth_of(const Ray& ray, float distance) const { return distance * ray.direction.dot(m_forward); }

    const Imath::V3f& forward() const { return m_forward; }

private:
    bool m_perspective;
    float m_near;
    float m_far;
    Imath::V3f m_eye;
    Imath::V3f m_forward;
    Imath::V3f m_right;      ///< as long as half the view is wide, at distance 1
    Imath::V3f m_up;         ///< as long as half the view is high, at distance 1
    Imath::V2f m_to_screen;  ///< from pixels to -1..1
};

}  // namespace corrivane::host
