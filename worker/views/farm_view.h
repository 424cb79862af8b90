#pragma once

#include "worker/events/job_events.h"
#include "worker/views/job_progress.h"

#include <ostream>

namespace corrivane::worker {

/// Says a job's progress and its images as the parsers of other farms read them: lines PROGRESS: 45% and
/// ALF_PROGRESS 45% for each whole percent of the job, and @IMAGE@path for each output of a finished frame, by its
/// path on this machine.
class FarmView : public EventSink {
public:
    /// `out` stays in use.
    explicit FarmView(std::ostream& out) : m_out(out) {}

    void take(const Event& event) override;

private:
    void print_images(const FrameOutcome& outcome);
    void print_progress();

    std::ostream& m_out;
    JobProgress m_progress;
    int m_percent = -1;  // the last one that was printed
};

}  // namespace corrivane::worker
