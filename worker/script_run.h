#pragma once

#include "worker/running_host.h"
#include "worker/stop_request.h"

#include <ostream>
#include <string>

namespace corrivane::worker {

/// A script file for one host, without a job.
struct ScriptRun {
    std::string file;
    int frame = 0;
    bool set_time = false;  // moves the scene to the frame's time first
};

/// Starts a host, lets it run the script, and writes to `out` what the script logs, what the host prints when
/// that is asked for, and how the script ended. Returns whether it succeeded. Throws what RunningHost and
/// FarmSession throw.
bool run_script(const ScriptRun& script, const HostSettings& host, const TimeLimits& limits,
                bool show_host_output, const StopRequest& stop, std::ostream& out);

}  // namespace corrivane::worker
