#pragma once

#include "worker/job/run_settings.h"
#include "worker/preflight/findings.h"

namespace corrivane::worker {

/// Whether hosts can work on this machine: starts one, which has to greet with the worker's own version, and looks at
/// the drives, the plug-in's log, the image formats and this process's limits.
Findings check_machine(const RunSettings& settings);

}  // namespace corrivane::worker
