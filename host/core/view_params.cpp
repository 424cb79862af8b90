#include "core/view_params.h"

#include <cmath>
#include <numbers>
#include <stdexcept>

namespace corrivane::host {

namespace {

/// The angle across one side of an image whose other side sees `angle`.
float angle_across(float angle, float proportion) {
    return 2 * std::atan(proportion * std::tan(angle / 2));
}

void check(const ViewParams& params) {
    if (!(params.fov > 0 && params.fov < std::numbers::pi_v<float>)) {
        throw std::invalid_argument("the view's field of view must lie between 0 and pi");
    }
    for (const auto& row : params.affineTM) {
        for (const float number : row) {
            if (!std::isfinite(number)) {
                throw std::invalid_argument("the view's placement holds a number that is not finite");
            }
        }
    }
}

}  // namespace

ViewParams to_view_params(const View& view, float image_aspect) {
    ViewParams params;
    const Imath::M44f world_to_camera = view.camera_to_world.inverse();
    for (int row = 0; row < 4; ++row) {
        for (int column = 0; column < 3; ++column) {
            params.affineTM[row][column] = world_to_camera[row][column];
        }
    }
    params.fov = angle_across(view.projection.yfov, image_aspect);
    return params;
}

View to_view(const ViewParams& params, const Projection& lens, float image_aspect) {
    check(params);
    Imath::M44f world_to_camera;
    for (int row = 0; row < 4; ++row) {
        for (int column = 0; column < 3; ++column) {
            world_to_camera[row][column] = params.affineTM[row][column];
        }
    }
    View view{world_to_camera.inverse(), lens};
    view.projection.yfov = angle_across(params.fov, 1 / image_aspect);
    return view;
}

}  // namespace corrivane::host
