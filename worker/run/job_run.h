#pragma once

#include "worker/base/stop_request.h"
#include "worker/events/event_stream.h"
#include "worker/events/job_report.h"
#include "worker/job/job.h"
#include "worker/job/run_settings.h"

namespace corrivane::worker {

/// How many hosts a job gets.
std::size_t lane_count(const Job& job, const RunSettings& settings);

/// Renders a job: starts the hosts, hands out the frames, and starts a new host where one fails, until every
/// frame is done or failed, or the user stops. `events` gets what happens.
///
/// A frame of which nothing came is tried again, `retries` times: the plug-in answered with an error, the host died or
/// hung, or the files are not what they should be. When all are over, the files of all frames are looked at again. A
/// job that the plug-in refuses to start ends at once, as does one for
/// which no host comes up. No host is left when this returns. Throws std::invalid_argument for a job that
/// check_job refuses.
JobReport run_job(const Job& job, const RunSettings& settings, const StopRequest& stop, EventStream& events);

}  // namespace corrivane::worker
