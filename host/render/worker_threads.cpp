#include "render/worker_threads.h"

#include <algorithm>

namespace corrivane::host {

WorkerThreads::WorkerThreads(int count) {
    for (int i = 0; i < std::max(count, 1); ++i)
        m_threads.emplace_back(&WorkerThreads::serve, this);
}

WorkerThreads::~WorkerThreads() {
    {
        const std::lock_guard lock(m_mutex);
        m_ending = true;
    }
    m_round_started.notify_all();
    for (std::thread& thread : m_threads)
        thread.join();
}

void WorkerThreads::run(const std::function<void()>& work) {
    std::unique_lock lock(m_mutex);
    m_work = &work;
    m_busy = m_threads.size();
    ++m_round;
    m_round_started.notify_all();
    m_round_finished.wait(lock, [this] { return m_busy == 0; });
    m_work = nullptr;
}

bool WorkerThreads::wait_for_round(unsigned& round) {
    std::unique_lock lock(m_mutex);
    m_round_started.wait(lock, [&] { return m_ending || m_round != round; });
    round = m_round;
    return !m_ending;
}

void WorkerThreads::serve() {
    unsigned round = 0;
    while (wait_for_round(round)) {
        // Unchanged until every thread has reported below.
        (*m_work)();
        const std::lock_guard lock(m_mutex);
        if (--m_busy == 0) m_round_finished.notify_one();
    }
}

}  // namespace corrivane::host
