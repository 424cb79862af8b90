#pragma once

#include "worker/base/stop_request.h"
#include "worker/job/run_settings.h"

#include <ostream>

namespace corrivane::worker {

/// Starts a host, lets it run the script, and writes to `out` what the script logs, what the host prints when
/// that is asked for, and how the script ended. Returns whether it succeeded. Throws what RunningHost and
/// FarmSession throw.
bool run_script(const ScriptRun& script, const HostSettings& host, const TimeLimits& limits,
                bool show_host_output, const StopRequest& stop, std::ostream& out);

}  // namespace corrivane::worker
