#pragma once

#include <cstddef>
#include <deque>
#include <mutex>
#include <optional>
#include <vector>

namespace corrivane::worker {

/// A frame that waits to be rendered.
struct FrameTask {
    std::size_t index = 0;  // its place in the job's list
    int frame = 0;
    int attempts = 0;  // that hosts did not survive
};

/// The frames that no host works on, handed out in the job's order. May be used by several threads.
class FrameQueue {
public:
    explicit FrameQueue(const std::vector<int>& frames) {
        for (const int frame : frames)
            m_tasks.push_back({m_tasks.size(), frame, 0});
    }

    std::optional<FrameTask> take() {
        const std::lock_guard lock(m_mutex);
        if (m_tasks.empty()) return std::nullopt;
        const FrameTask task = m_tasks.front();
        m_tasks.pop_front();
        return task;
    }

    /// The task is the next one to be taken again.
    void give_back(const FrameTask& task) {
        const std::lock_guard lock(m_mutex);
        m_tasks.push_front(task);
    }

    bool empty() {
        const std::lock_guard lock(m_mutex);
        return m_tasks.empty();
    }

private:
    std::mutex m_mutex;
    std::deque<FrameTask> m_tasks;
};

}  // namespace corrivane::worker
