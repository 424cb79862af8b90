#pragma once

#include "worker/job/scene_description.h"
#include "worker/preflight/findings.h"
#include "worker/preflight/output_checks.h"
#include "worker/settings/job_settings.h"

#include <optional>

namespace corrivane::worker {

/// A job as it is going to run here, and what a look at it found.
struct PreparedJob {
    JobSettings settings;
    std::optional<SceneDescription> scene;  // none: the host does not describe scenes
    Findings findings;

    /// To be asked when the first frame is done: why the others will not fit on the disk, or an empty text.
    std::string space_lacking_after(int frame) const;
};

/// Looks before anything is rendered: asks a host about the scene, settles what depends on it (the frames that are
/// "all" of it, outputs that go to another folder), and checks what would fail later. A job whose findings hold a
/// refusal is not to be run. The drives have to be mapped as the host maps them.
PreparedJob prepare_job(const JobSettings& settings, MissingFolders missing);

}  // namespace corrivane::worker
