#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace corrivane::host {

/// Threads that wait for work from construction to destruction, so that a frame starts none.
class WorkerThreads {
public:
    /// `count` threads, at least one.
    explicit WorkerThreads(int count);
    ~WorkerThreads();
    WorkerThreads(const WorkerThreads&) = delete;
    WorkerThreads& operator=(const WorkerThreads&) = delete;

    /// Runs `work` once on every thread and returns when all have finished it. One call at a time; `work`
    /// must not throw.
    void run(const std::function<void()>& work);

private:
    void serve();
    /// False when the threads should end.
    bool wait_for_round(unsigned& round);

    std::mutex m_mutex;
    std::condition_variable m_round_started;
    std::condition_variable m_round_finished;
    const std::function<void()>* m_work = nullptr;
    unsigned m_round = 0;
    std::size_t m_busy = 0;
    bool m_ending = false;
    std::vector<std::thread> m_threads;  ///< last: the threads use everything above
};

}  // namespace corrivane::host
