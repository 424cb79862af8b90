#include "worker/views/bar_view.h"

#include "worker/views/event_lines.h"
#include "worker/views/text.h"

#include <algorithm>
#include <cmath>

namespace corrivane::worker {
namespace {

/// Faster than anybody reads, and slow enough to cost nothing with many hosts.
constexpr std::chrono::milliseconds between_drawings{100};

std::string bar(double fraction, std::size_t width) {
    const auto filled = static_cast<std::size_t>(std::floor(fraction * static_cast<double>(width)));
    return '[' + std::string(filled, '#') + std::string(width - filled, '-') + ']';
}

std::string percentage(double fraction) {
    const std::string number = std::to_string(static_cast<int>(std::floor(fraction * 100)));
    return std::string(number.size() < 3 ? 3 - number.size() : 0, ' ') + number + '%';
}

std::string job_row(const JobProgress& progress) {
    std::string row = bar(progress.fraction(), 20) + ' ' + percentage(progress.fraction()) + "  " +
                      std::to_string(progress.finished()) + '/' + counted(progress.total(), "frame");
    if (progress.failed() > 0) row += ", " + std::to_string(progress.failed()) + " failed";
    const auto left = progress.time_left();
    return row + "  " + (left ? format_duration(*left) + " left" : "time left unknown");
}

std::string host_row(std::size_t number, const JobProgress::Host& host) {
    const std::string row = "  host " + std::to_string(number) + (number < 10 ? "   " : "  ");
    if (!host.frame) return row + host.state;
    const double fraction = std::clamp(host.percent / 100, 0.0, 1.0);
    return row + bar(fraction, 10) + ' ' + percentage(fraction) + "  frame " + std::to_string(*host.frame) +
           (host.title.empty() ? "" : "  " + host.title);
}

}  // namespace

std::vector<std::string> bar_rows(const JobProgress& progress, TerminalSize size) {
    std::vector<std::string> rows{job_row(progress)};
    const std::size_t hosts = progress.hosts().size();
    // The terminal's last row is not used up: the shell's prompt stays in sight.
    const std::size_t room = size.rows > 3 ? size.rows - 2 : 1;
    const std::size_t shown = hosts <= room ? hosts : room - 1;
    for (std::size_t i = 0; i < shown; ++i)
        rows.push_back(host_row(i + 1, progress.hosts()[i]));
    if (shown < hosts) rows.push_back("  and " + counted(hosts - shown, "more host"));
    // A full line would make some terminals go on to the next one.
    for (std::string& row : rows)
        row = cut(row, std::max<std::size_t>(size.columns, 2) - 1);
    return rows;
}

void BarView::take(const Event& event) {
    m_progress.take(event);
    if (may_wait(event)) return;
    std::string text = erasure();
    m_rows_drawn = 0;
    for (const std::string& line : event_lines(event, m_progress, m_crashes, Detail::problems))
        text += line + '\n';
    if (std::holds_alternative<event::JobEnds>(event.what)) m_over = true;
    if (!m_over) {
        for (const std::string& row : bar_rows(m_progress, m_size()))
            text += (m_rows_drawn++ == 0 ? "" : "\n") + row;
        m_drawn_at = event.time;
    }
    m_out << text << std::flush;
}

/// A title is followed by a progress report, and a report by the next one or by the frame's end.
bool BarView::may_wait(const Event& event) const {
    if (std::holds_alternative<event::TitleSet>(event.what)) return true;
    return std::holds_alternative<event::Progressed>(event.what) && event.time >= m_drawn_at &&
           event.time - m_drawn_at < between_drawings;
}

/// To the beginning of the first row, and everything below away.
std::string BarView::erasure() const {
    if (m_rows_drawn == 0) return "";
    const std::string up = m_rows_drawn > 1 ? "\x1b[" + std::to_string(m_rows_drawn - 1) + 'A' : "";
    return '\r' + up + "\x1b[J";
}

}  // namespace corrivane::worker
