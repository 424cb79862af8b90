#pragma once

#include "scene/scene.h"

namespace corrivane::host {

/// A place to look from and a way to project.
struct View {
    /// The camera looks down its own -z, +y is up; a scale in it does not change the image.
    Imath::M44f camera_to_world;
    Projection projection;
};

/// What the camera of that node sees in that pose. Throws std::invalid_argument when the node has no camera.
View camera_view(const Scene& scene, const Pose& pose, int camera_node);

/// A perspective view, from the front, the right and above, that shows all that is within the bounds.
/// `image_aspect` is the image's width over its height on the screen. Empty bounds give some valid view.
View framing_view(const Imath::Box3f& bounds, float image_aspect);

}  // namespace corrivane::host
