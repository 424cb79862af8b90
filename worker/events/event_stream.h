#pragma once

#include "worker/events/job_events.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

namespace corrivane::worker {

/// Carries the events of a job from the threads that drive hosts to the sinks, on a thread of its own: a slow
/// terminal or disk keeps no host waiting. Progress that comes faster than it is shown is left out.
class EventStream {
public:
    /// The sinks stay in use until close().
    explicit EventStream(std::vector<EventSink*> sinks);
    ~EventStream() { close(); }
    EventStream(const EventStream&) = delete;
    EventStream& operator=(const EventStream&) = delete;

    /// Never waits for a sink. Stamps the event with the time.
    void emit(event::Anything what, std::optional<std::size_t> host = {}, std::optional<int> frame = {});

    /// Returns when the sinks have taken everything. What is emitted later is left out.
    void close();

private:
    void deliver();

    const std::vector<EventSink*> m_sinks;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Event> m_waiting;
    bool m_closed = false;
    std::thread m_thread;
};

}  // namespace corrivane::worker
