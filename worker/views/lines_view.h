#pragma once

#include "worker/events/job_events.h"
#include "worker/views/crash_files.h"
#include "worker/views/job_progress.h"

#include <ostream>

namespace corrivane::worker {

/// Shows a job as lines, for pipes and log files: what every host and frame does.
class LinesView : public EventSink {
public:
    /// `out` and `crashes` stay in use; `crashes` is fed before this.
    LinesView(std::ostream& out, const CrashFiles& crashes) : m_out(out), m_crashes(crashes) {}

    void take(const Event& event) override;

private:
    std::ostream& m_out;
    const CrashFiles& m_crashes;
    JobProgress m_progress;
};

}  // namespace corrivane::worker
