#include "worker/views/job_progress.h"

#include "worker/base/printable.h"
#include "worker/views/cases.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace corrivane::worker {

void JobProgress::take(const Event& event) {
    if (const auto* job = std::get_if<event::JobBegins>(&event.what)) {
        m_total = job->frames.size();
        m_hosts.resize(job->hosts);
    }
    const bool of_host = event.host && *event.host < m_hosts.size();
    Host no_host;
    Host& host = of_host ? m_hosts[*event.host] : no_host;
    std::visit(Cases{
                   [&](const event::HostStarts&) { host = {.state = "starting"}; },
                   [&](const event::HostReady&) { host = {.state = "loading the scene"}; },
                   [&](const event::HostEnds&) { host = {.state = "ended"}; },
                   [&](const event::FrameBegins&) { host = {.state = "ready", .frame = event.frame}; },
                   [&](const event::TitleSet& set) { host.title = printable(set.title); },
                   [&](const event::Progressed& progress) { host.percent = progress.percent; },
                   [&](const event::FrameEnds& end) { finish(end.outcome, of_host ? &host : nullptr); },
                   [&](const event::FrameGivenBack&) { host = {.state = "ready"}; },
                   [](const auto&) {},
               },
               event.what);
}

/// A frame that no host had at work, because its files were there, says nothing of the time that others take.
void JobProgress::finish(const FrameOutcome& outcome, Host* host) {
    m_finished[outcome.frame] = outcome.status;
    if (host == nullptr || host->frame != outcome.frame) return;
    m_last_times.push_back(outcome.time);
    if (m_last_times.size() > std::max<std::size_t>(5, 2 * m_hosts.size())) m_last_times.pop_front();
    *host = {.state = "ready"};
}

std::size_t JobProgress::failed() const {
    return static_cast<std::size_t>(std::ranges::count_if(
        m_finished, [](const auto& frame) { return frame.second == FrameOutcome::Status::failed; }));
}

double JobProgress::frames_rendered() const {
    double frames = static_cast<double>(finished());
    for (const Host& host : m_hosts)
        if (host.frame) frames += host.percent / 100;
    return std::min(frames, static_cast<double>(m_total));
}

double JobProgress::fraction() const {
    return m_total == 0 ? 1 : frames_rendered() / static_cast<double>(m_total);
}

std::optional<std::chrono::milliseconds> JobProgress::time_left() const {
    if (m_last_times.empty()) return std::nullopt;
    const auto sum = std::accumulate(m_last_times.begin(), m_last_times.end(), std::chrono::milliseconds{0});
    const double frame_time = static_cast<double>(sum.count()) / static_cast<double>(m_last_times.size());
    const double left = static_cast<double>(m_total) - frames_rendered();
    const std::size_t unfinished = m_total - std::min(m_total, finished());
    const auto at_once = static_cast<double>(std::max<std::size_t>(1, std::min(unfinished, m_hosts.size())));
    return std::chrono::milliseconds(std::llround(left * frame_time / at_once));
}

}  // namespace corrivane::worker
