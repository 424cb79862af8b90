#pragma once

#include "worker/events/job_events.h"

#include <chrono>
#include <cstddef>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace corrivane::worker {

/// How far a job is, learnt from its events.
class JobProgress {
public:
    struct Host {
        std::string state = "waiting";  // while it has no frame
        std::optional<int> frame = {};
        std::string title = {};  // what it does, fit for a terminal
        double percent = 0;      // of its frame
    };

    void take(const Event& event);

    std::size_t total() const { return m_total; }
    std::size_t finished() const { return m_finished.size(); }
    std::size_t failed() const;
    const std::vector<Host>& hosts() const { return m_hosts; }

    /// The finished frames and the rendered parts of those under way, 0 to 1 of the job.
    double fraction() const;

    /// Estimated from the times of the last frames; nothing before the first one is finished.
    std::optional<std::chrono::milliseconds> time_left() const;

private:
    double frames_rendered() const;
    void finish(const FrameOutcome& outcome, Host* host);

    std::size_t m_total = 0;
    std::map<int, FrameOutcome::Status> m_finished;
    std::deque<std::chrono::milliseconds> m_last_times;
    std::vector<Host> m_hosts;
};

}  // namespace corrivane::worker
