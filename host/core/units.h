#pragma once

#include <max/types.h>

namespace corrivane::host {

constexpr int ticks_per_second = 4800;

constexpr double to_seconds(TimeValue time) {
    return static_cast<double>(time) / ticks_per_second;
}

/// In pixels.
constexpr int largest_image_side = 32768;

}  // namespace corrivane::host
