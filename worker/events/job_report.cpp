#include "worker/events/job_report.h"

#include <algorithm>

namespace corrivane::worker {

bool JobReport::success() const {
    return problems.empty() && std::all_of(frames.begin(), frames.end(), [](const FrameOutcome& outcome) {
               return outcome.status == FrameOutcome::Status::done;
           });
}

}  // namespace corrivane::worker
