#pragma once

#include "render/view.h"
#include "scene/scene.h"

namespace corrivane::host {

// A camera's multi-pass effect renders a frame several times, each pass from a slightly different place or
// time; the plain mean of the passes is the frame. These functions say from where and when; they are pure and
// deterministic. `pass` counts from 0 and must be below effect.passes, else std::invalid_argument. With one
// pass, nothing is shifted.

/// The camera of one depth-of-field pass: moved on a disc of effect.radius across its axis and turned so that
/// the point at effect.focus_distance on the axis stays where it is in the image. The passes cover the disc
/// evenly. A motion-blur effect gives the camera back unchanged.
Imath::M44f multipass_camera(const MultipassEffect& effect, const Imath::M44f& camera_to_world, int pass);

/// The offset in frames of one motion-blur pass: the passes are spread evenly over effect.duration_frames,
/// centred on the frame. A depth-of-field effect gives 0.
double multipass_frame_offset(const MultipassEffect& effect, int pass);

}  // namespace corrivane::host
