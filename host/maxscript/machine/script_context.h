#pragma once

#include <max/maxscript/value.h>

#include <optional>

namespace corrivane::host {

/// Whose axes positions and rotations are given in.
enum class CoordinateSystem { world, parent, local, object };

/// What the contexts around the running code have set.
struct ScriptContext {
    /// In ticks; without one, the slider's time holds.
    std::optional<int> time;
    /// Whether assignments to animatable properties make keys.
    bool animate = false;
    CoordinateSystem coordinate_system = CoordinateSystem::world;
    /// The node or matrix of `in coordsys`, where that is what was named.
    Value* coordinate_object = nullptr;
    bool print_all_elements = false;
};

}  // namespace corrivane::host
