#pragma once

#include "worker/job/scene_description.h"

#include <string>

namespace corrivane::worker {

/// What a scene holds, for people: a line for each thing.
std::string info_text(const SceneDescription& scene);

}  // namespace corrivane::worker
