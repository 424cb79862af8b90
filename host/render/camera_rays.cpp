#include "render/camera_rays.h"

#include <cmath>
#include <numbers>
#include <stdexcept>

namespace corrivane::host {

namespace {

/// A row of the camera's matrix without its length; `fallback` when a pose has flattened it.
Imath::V3f axis(const Imath::M44f& matrix, int row, const Imath::V3f& fallback) {
    const Imath::V3f vector(matrix[row][0], matrix[row][1], matrix[row][2]);
    const float length = vector.length();
    return std::isfinite(length) && length > 0 ? vector / length : fallback;
}

void check(const Projection& projection) {
    const bool perspective = projection.kind == Projection::Kind::perspective;
    if (perspective && !(projection.yfov > 0 && projection.yfov < std::numbers::pi_v<float>)) {
        throw std::invalid_argument("view: yfov must be above 0 and below pi");
    }
    if (!perspective && !(projection.ymag > 0 && std::isfinite(projection.ymag))) {
        throw std::invalid_argument("view: ymag must be above 0");
    }
    if (!(projection.znear >= 0 && projection.zfar > projection.znear)) {
        throw std::invalid_argument("view: zfar must be beyond znear");
    }
}

}  // namespace

CameraRays::CameraRays(const View& view, int width, int height, float pixel_aspect)
    : m_perspective(view.projection.kind == Projection::Kind::perspective),
      m_near(view.projection.znear),
      m_far(view.projection.zfar),
      m_to_screen(2 / static_cast<float>(width), 2 / static_cast<float>(height)) {
    check(view.projection);
    const Imath::M44f& matrix = view.camera_to_world;
    m_eye = {matrix[3][0], matrix[3][1], matrix[3][2]};
    if (!std::isfinite(m_eye.x + m_eye.y + m_eye.z)) m_eye = {0, 0, 0};
    m_forward = -axis(matrix, 2, {0, 0, 1});
    const float half_height = m_perspective ? std::tan(view.projection.yfov / 2) : view.projection.ymag;
    const float half_width =
        half_height * static_cast<float>(width) * pixel_aspect / static_cast<float>(height);
    m_right = axis(matrix, 0, {1, 0, 0}) * half_width;
    m_up = axis(matrix, 1, {0, 1, 0}) * half_height;
}

Ray CameraRays::through(const Imath::V2f& point) const {
    const Imath::V3f across = m_right * (point.x * m_to_screen.x - 1) + m_up * (1 - point.y * m_to_screen.y);
    if (!m_perspective) return {m_eye + across, m_forward, m_near, m_far};
    const Imath::V3f towards = m_forward + across;
    const float length = towards.length();
    return {m_eye, towards / length, m_near * length, m_far * length};
}

}  // namespace corrivane::host
