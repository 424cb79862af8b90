#pragma once

#include "worker/job.h"
#include "worker/job_report.h"
#include "worker/progress_view.h"
#include "worker/running_host.h"
#include "worker/stop_request.h"

namespace corrivane::worker {

struct RunSettings {
    HostSettings host;
    TimeLimits limits;
    int hosts = 1;    // at once; never more than the job has frames
    int retries = 2;  // of a frame whose host died or hung, and of a host that does not come up
    /// A frame counts as done only when the files that it wrote are there and not empty. One that wrote none,
    /// because the scene skips it or saves nothing, counts unless an empty file is in its place.
    bool check_files = false;
    bool show_host_output = false;
};

/// How many hosts a job gets.
std::size_t lane_count(const Job& job, const RunSettings& settings);

/// Renders a job: starts the hosts, hands out the frames, and starts a new host where one fails, until every
/// frame is done or failed, or the user stops. `view` has lane_count lanes.
///
/// A frame that the plug-in answers with an error has failed. One whose host dies or hangs is tried again
/// with a new host, `retries` times. A job that the plug-in refuses to start ends at once, as does one for
/// which no host comes up. No host is left when this returns. Throws std::invalid_argument for a job that
/// check_job refuses.
JobReport run_job(const Job& job, const RunSettings& settings, const StopRequest& stop, ProgressView& view);

}  // namespace corrivane::worker
