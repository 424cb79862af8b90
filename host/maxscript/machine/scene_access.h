#pragma once

#include <max/maxscript/value.h>

#include <string>

namespace corrivane::host {

/// What the language itself asks of the open scene. The host implements it; the runtime has none until
/// set_scene_access has been called.
class SceneAccess {
public:
    virtual ~SceneAccess() = default;

    /// What `$path` stands for; `path` is without the sign, and empty for the selection. With `*` or `?` it is a
    /// collection, otherwise a node or `undefined`.
    virtual Value* find_path(const std::string& path) = 0;
    /// How many ticks of 4800 a second a frame takes.
    virtual int ticks_per_frame() = 0;
    /// The time at which scripts see the scene, in ticks: the slider's, outside of `at time`.
    virtual int slider_time() = 0;
};

/// Null for none; otherwise it outlives the runtime.
void set_scene_access(SceneAccess* access);
/// Null when there is none.
SceneAccess* find_scene_access();
/// A MAXScript error when there is none.
SceneAccess& scene_access();

}  // namespace corrivane::host
