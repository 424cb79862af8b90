#include "worker/events/event_stream.h"

#include "worker/base/signal_free_thread.h"

#include <utility>

namespace corrivane::worker {
namespace {

bool is_progress_of(const Event& event, std::optional<std::size_t> host) {
    return event.host == host && std::holds_alternative<event::Progressed>(event.what);
}

}  // namespace

EventStream::EventStream(std::vector<EventSink*> sinks)
    : m_sinks(std::move(sinks)), m_thread(start_signal_free_thread([this] { deliver(); })) {}

void EventStream::emit(event::Anything what, std::optional<std::size_t> host, std::optional<int> frame) {
    {
        const std::lock_guard lock(m_mutex);
        if (m_closed) return;
        Event event{std::chrono::system_clock::now(), host, frame, std::move(what)};
        if (!m_waiting.empty() && is_progress_of(event, host) && is_progress_of(m_waiting.back(), host))
            m_waiting.back() = std::move(event);
        else
            m_waiting.push_back(std::move(event));
    }
    m_changed.notify_one();
}

void EventStream::close() {
    {
        const std::lock_guard lock(m_mutex);
        m_closed = true;
    }
    m_changed.notify_one();
    if (m_thread.joinable()) m_thread.join();
}

void EventStream::deliver() {
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [this] { return m_closed || !m_waiting.empty(); });
        if (m_waiting.empty()) return;
        const auto events = std::exchange(m_waiting, {});
        lock.unlock();
        for (const Event& event : events)
            for (EventSink* const sink : m_sinks)
                sink->take(event);
        lock.lock();
    }
}

}  // namespace corrivane::worker
