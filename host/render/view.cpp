#include "render/view.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string>

namespace corrivane::host {

View camera_view(const Scene& scene, const Pose& pose, int camera_node) {
    if (camera_node < 0 || static_cast<std::size_t>(camera_node) >= scene.nodes.size()) {
        throw std::invalid_argument("camera_node: there is no node " + std::to_string(camera_node));
    }
    const auto index = static_cast<std::size_t>(camera_node);
    const int camera = scene.nodes[index].camera;
    if (camera < 0)
        throw std::invalid_argument("camera_node: node " + std::to_string(camera_node) + " has no camera");
    return {pose.at(index), scene.cameras[static_cast<std::size_t>(camera)].projection};
}

View framing_view(const Imath::Box3f& bounds, float image_aspect) {
    // A scene may also be so far away or so large that its size is no float.
    const bool usable = !bounds.isEmpty() && std::isfinite(bounds.size().length() + bounds.center().length());
    const Imath::Box3f box = usable ? bounds : Imath::Box3f(Imath::V3f(-1), Imath::V3f(1));
    const Imath::V3f center = box.center();
    const float radius = std::max(box.size().length() / 2, 1e-6f);

    View view;
    const float half = view.projection.yfov / 2;
    // The narrower of the two half angles must hold the sphere around the box.
    const float narrow = std::min(half, std::atan(std::tan(half) * std::max(image_aspect, 1e-3f)));
    const float distance = 1.05f * radius / std::sin(narrow);
    view.projection.znear = distance * 1e-3f;

    const Imath::V3f back = Imath::V3f(0.5f, 0.45f, 1).normalized();
    const Imath::V3f right = Imath::V3f(0, 1, 0).cross(back).normalized();
    const Imath::V3f up = back.cross(right);
    const Imath::V3f eye = center + back * distance;
    view.camera_to_world = {right.x, right.y, right.z, 0, up.x,  up.y,  up.z,  0,
                            back.x,  back.y,  back.z,  0, eye.x, eye.y, eye.z, 1};
    return view;
}

}  // namespace corrivane::host
