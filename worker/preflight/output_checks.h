#pragma once

#include "worker/preflight/findings.h"
#include "worker/preflight/planned_outputs.h"

#include <vector>

namespace corrivane::worker {

/// What a look at folders does about those that are missing.
enum class MissingFolders {
    make,  // on drives and shares
    leave
};

/// Whether the outputs of a job can be written: their drives, names, formats, sizes and folders, and that no two of
/// them are one file. Drives have to be mapped as the host maps them.
Findings check_outputs(const std::vector<PlannedOutput>& outputs, const Job& job, MissingFolders missing);

/// The same of the folder of the previews, without which the frames are rendered all the same.
Findings check_previews(const Job& job, MissingFolders missing);

}  // namespace corrivane::worker
