#pragma once

#include <condition_variable>
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
    int attempts = 0;  // that came to nothing
    int failures = 0;  // of them, those that count
};

/// The frames that no host works on, handed out in the job's order. May be used by several threads.
class FrameQueue {
public:
    explicit FrameQueue(const std::vector<int>& frames) {
        for (const int frame : frames)
            m_tasks.push_back({m_tasks.size(), frame});
    }

    /// Waits while there is no frame but one that is out may come back. Nothing when none is left or the queue was
    /// closed.
    std::optional<FrameTask> take() {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return m_closed || !m_tasks.empty() || m_out == 0; });
        if (m_closed || m_tasks.empty()) return std::nullopt;
        const FrameTask task = m_tasks.front();
        m_tasks.pop_front();
        ++m_out;
        return task;
    }

    /// A task that was taken is the next one to be taken again.
    void give_back(const FrameTask& task) {
        {
            const std::lock_guard lock(m_mutex);
            m_tasks.push_front(task);
            --m_out;
        }
        m_changed.notify_all();
    }

    /// A task that was taken is over.
    void finish() {
        {
            const std::lock_guard lock(m_mutex);
            --m_out;
        }
        m_changed.notify_all();
    }

    /// Nothing is handed out any more.
    void close() {
        {
            const std::lock_guard lock(m_mutex);
            m_closed = true;
        }
        m_changed.notify_all();
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<FrameTask> m_tasks;
    std::size_t m_out = 0;
    bool m_closed = false;
};

}  // namespace corrivane::worker
