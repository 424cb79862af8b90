#pragma once

#include "worker/job/job.h"
#include "worker/job/scene_description.h"

#include <string>
#include <vector>

namespace corrivane::worker {

/// A file that each frame of a job writes.
struct PlannedOutput {
    std::string what;  // "output", "element 0 (depth)"
    std::string name;  // as the host names it, without a frame number
    int width = 0;     // in pixels
    int height = 0;
    bool is_deep = false;  // 32-bit floating point, where the format has it
};

/// The outputs of the job's frames, those of the render elements included; alpha companions and previews are not.
/// Elements without an output name have none.
std::vector<PlannedOutput> planned_outputs(const Job& job, const SceneDescription& scene);

}  // namespace corrivane::worker
