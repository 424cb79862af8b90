#pragma once

#include "render/view.h"

#include <max/renderer.h>

namespace corrivane::host {

/// A view as the core interface passes it on. `image_aspect` is the image's width over its height on the
/// screen. An orthographic view's width does not fit into a ViewParams and is lost.
ViewParams to_view_params(const View& view, float image_aspect);

/// The view that `params` stand for, with the clipping distances of `lens`. An orthographic lens stays as it
/// is: the field of view says nothing about it. Throws std::invalid_argument when a number is not finite or
/// the field of view is not between 0 and pi.
View to_view(const ViewParams& params, const Projection& lens, float image_aspect);

}  // namespace corrivane::host
