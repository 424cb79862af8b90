#pragma once

#include "scene/scene.h"

namespace corrivane::host {

/// Adds everything that `part` shows to `scene`, as further roots. The settings, name and warnings stay
/// the scene's.
void merge_scene(Scene part, Scene& scene);

}  // namespace corrivane::host
