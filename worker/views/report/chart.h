#pragma once

#include "worker/events/job_report.h"

#include <string>

namespace corrivane::worker {

/// The time of each frame as a chart in HTML: a bar a frame in the job's order, which names itself and leads to the
/// frame's place (#frame-12), with lines at round times and at the median.
std::string time_chart(const JobReport& report);

/// The median time of the rendered frames; 0 where there are none.
std::chrono::milliseconds median_time(const JobReport& report);

/// "done", "failed", "skipped" or "left": what became of a frame, as a class of the page.
const char* frame_class(const FrameOutcome& outcome);

}  // namespace corrivane::worker
