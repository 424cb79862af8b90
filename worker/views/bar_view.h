#pragma once

#include "worker/events/job_events.h"
#include "worker/views/crash_files.h"
#include "worker/views/job_progress.h"

#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

namespace corrivane::worker {

struct TerminalSize {
    std::size_t columns = 80;
    std::size_t rows = 24;
};

/// The rows that a terminal shows while a job runs: bar, percentage, frames and time left of the job, and below a
/// row for each host with its frame and what it does. Hosts that the terminal has no row for are counted. Every row
/// leaves the last column free.
std::vector<std::string> bar_rows(const JobProgress& progress, TerminalSize size);

/// Shows a job on a terminal: rows at the bottom that follow the progress, and above them lines for what the rows
/// don't tell.
class BarView : public EventSink {
public:
    /// `out` and `crashes` stay in use; `crashes` is fed before this. Nobody else writes to `out` until the job's
    /// end, when the rows are taken away. `size` is asked for whenever rows are drawn.
    BarView(std::ostream& out, TerminalSize (*size)(), const CrashFiles& crashes)
        : m_out(out), m_size(size), m_crashes(crashes) {}

    void take(const Event& event) override;

private:
    bool may_wait(const Event& event) const;
    std::string erasure() const;

    std::ostream& m_out;
    TerminalSize (*m_size)();
    const CrashFiles& m_crashes;
    JobProgress m_progress;
    std::size_t m_rows_drawn = 0;
    std::chrono::system_clock::time_point m_drawn_at;
    bool m_over = false;
};

}  // namespace corrivane::worker
