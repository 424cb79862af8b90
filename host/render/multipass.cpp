#include "render/multipass.h"

#include <cmath>
#include <numbers>
#include <stdexcept>
#include <string>

namespace corrivane::host {

namespace {

void check_pass(const MultipassEffect& effect, int pass) {
    if (pass < 0 || pass >= effect.passes) {
        throw std::invalid_argument("pass " + std::to_string(pass) + " of " + std::to_string(effect.passes));
    }
}

/// Point `pass` of Vogel's sunflower on the unit disc: rings of equal area, turned by the golden angle each.
Imath::V2f disc_point(int pass, int passes) {
    constexpr double golden_angle = std::numbers::pi * 0.76393202250021030;  // pi (3 - sqrt 5)
    const double radius = std::sqrt((pass + 0.5) / passes);
    const double angle = pass * golden_angle;
    return {static_cast<float>(radius * std::cos(angle)), static_cast<float>(radius * std::sin(angle))};
}

}  // namespace

Imath::M44f multipass_camera(const MultipassEffect& effect, const Imath::M44f& camera_to_world, int pass) {
    check_pass(effect, pass);
    if (effect.kind != MultipassEffect::Kind::depth_of_field || effect.passes == 1) return camera_to_world;

    // In the camera's own space: the eye moves to (x, y, 0) and looks at the focal point (0, 0, -focus).
    const Imath::V2f offset = disc_point(pass, effect.passes) * effect.radius;
    const Imath::V3f eye(offset.x, offset.y, 0);
    const Imath::V3f back = (eye - Imath::V3f(0, 0, -effect.focus_distance)).normalized();
    const Imath::V3f right = Imath::V3f(0, 1, 0).cross(back).normalized();
    const Imath::V3f up = back.cross(right);
    const Imath::M44f moved(right.x, right.y, right.z, 0, up.x, up.y, up.z, 0, back.x, back.y, back.z, 0,
                            eye.x, eye.y, eye.z, 1);

    // A scaled camera node must not scale the lens.
    Imath::M44f rigid = camera_to_world;
    for (int axis = 0; axis < 3; ++axis) {
        Imath::V3f row(rigid[axis][0], rigid[axis][1], rigid[axis][2]);
        row.normalize();
        for (int c = 0; c < 3; ++c)
            rigid[axis][c] = row[c];
    }
    return moved * rigid;
}

double multipass_frame_offset(const MultipassEffect& effect, int pass) {
    check_pass(effect, pass);
    if (effect.kind != MultipassEffect::Kind::motion_blur) return 0;
    return effect.duration_frames * ((pass + 0.5) / effect.passes - 0.5);
}

}  // namespace corrivane::host
