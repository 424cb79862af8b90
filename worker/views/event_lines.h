#pragma once

#include "worker/events/job_events.h"
#include "worker/views/crash_files.h"
#include "worker/views/job_progress.h"

#include <string>
#include <vector>

namespace corrivane::worker {

enum class Detail {
    all,      // every step of hosts and frames
    problems  // what a bar does not show: failures, warnings, what scripts and hosts say
};

/// An event as lines for people, fit for a terminal: each with the time, the host and the frame. None for
/// progress, and for the job's end, which the summary tells. `progress` and `crashes` have taken the event.
std::vector<std::string> event_lines(const Event& event, const JobProgress& progress,
                                     const CrashFiles& crashes, Detail detail);

}  // namespace corrivane::worker
