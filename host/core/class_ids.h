#pragma once

#include "scene/render_settings.h"

#include <max/types.h>

namespace corrivane::host {

/// The identifiers under which this host's own classes are known where a scene names none.
constexpr Class_ID default_renderer_class{0x1b7c40e3, 0x6f2a91d5};
constexpr Class_ID plain_object_class{0x4e11d08a, 0x70c3b952};
constexpr Class_ID camera_class{0x2d90b6f1, 0x33e8a04c};
constexpr Class_ID depth_of_field_class{0x5b06e7c4, 0x18fd2a63};
constexpr Class_ID motion_blur_class{0x07a95d3e, 0x64b1c8f0};

/// The class of camera that keeps its multi-pass effect on a child node called "Multipass".
constexpr Class_ID holder_camera_class{0x399ee5f2, 0x584a71a8};
constexpr const char* effect_holder_name = "Multipass";

constexpr Class_ID to_class_id(const ClassId& words) {
    return {words[0], words[1]};
}

}  // namespace corrivane::host
