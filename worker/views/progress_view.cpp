#include "worker/views/progress_view.h"

#include "worker/base/printable.h"
#include "worker/views/summary.h"

#include <algorithm>
#include <cmath>

namespace corrivane::worker {
namespace {

constexpr std::size_t bar_width = 20;

/// One function for each kind of event.
template <typename... Case>
struct Cases : Case... {
    using Case::operator()...;
};

std::string bar(double fraction) {
    const auto filled = static_cast<std::size_t>(std::floor(fraction * bar_width));
    return '[' + std::string(filled, '#') + std::string(bar_width - filled, '-') + ']';
}

std::string percentage(double fraction) {
    const std::string number = std::to_string(static_cast<int>(std::floor(fraction * 100)));
    return std::string(number.size() < 3 ? 3 - number.size() : 0, ' ') + number + '%';
}

std::string frames_of(std::size_t finished, std::size_t total) {
    return std::to_string(finished) + '/' + std::to_string(total);
}

std::string lane_text(const JobProgress::Lane& lane) {
    std::string text = "frame " + std::to_string(*lane.frame);
    if (!lane.title.empty()) text += ": " + lane.title;
    return text;
}

std::string time_left_text(const JobProgress& progress) {
    const auto left = progress.time_left();
    return left ? format_duration(*left) + " left" : "time left unknown";
}

std::string outcome_text(const FrameOutcome& outcome) {
    const std::string frame = "frame " + std::to_string(outcome.frame);
    if (outcome.status == FrameOutcome::Status::failed)
        return frame + " failed after " + format_seconds(outcome.time);
    const std::string text = frame + " done in " + format_seconds(outcome.time);
    if (!outcome.files) return text + ", its files are not known";
    if (outcome.files->empty()) return text + ", no file written (skipped, or the scene saves none)";
    std::string files;
    for (const std::string& file : *outcome.files)
        files += (files.empty() ? ": " : ", ") + printable(file);
    return text + files;
}

}  // namespace

double JobProgress::frames_rendered() const {
    double frames = static_cast<double>(finished);
    for (const Lane& lane : lanes)
        if (lane.frame) frames += lane.percent / 100;
    return std::min(frames, static_cast<double>(total));
}

std::optional<std::chrono::milliseconds> JobProgress::time_left() const {
    if (finished == 0) return std::nullopt;
    const double left = static_cast<double>(total) - frames_rendered();
    const double at_once = static_cast<double>(std::clamp<std::size_t>(total - finished, 1, lanes.size()));
    const double frame_time = static_cast<double>(time_of_finished.count()) / static_cast<double>(finished);
    return std::chrono::milliseconds(std::llround(left * frame_time / at_once));
}

std::string progress_line(const JobProgress& progress, std::size_t width) {
    const double fraction =
        progress.total == 0 ? 1 : progress.frames_rendered() / static_cast<double>(progress.total);
    std::string line = bar(fraction) + ' ' + percentage(fraction) + "  " +
                       frames_of(progress.finished, progress.total) + "  " + time_left_text(progress);
    for (const JobProgress::Lane& lane : progress.lanes)
        if (lane.frame) line += "  " + lane_text(lane);
    return line.substr(0, width);
}

ProgressView::ProgressView(std::ostream& out, Style style, std::size_t frame_count, std::size_t lane_count,
                           std::size_t (*width)())
    : m_out(out), m_style(style), m_width(width), m_progress(frame_count, lane_count) {}

void ProgressView::take(const Event& event) {
    const std::size_t lane = event.host.value_or(0);
    const std::string label =
        event.host && m_progress.lanes.size() > 1 ? "host " + std::to_string(lane + 1) + ": " : "";
    std::visit(Cases{
                   [&](const event::FrameBegins&) { begin_frame(lane, event.frame.value_or(0)); },
                   [&](const event::TitleSet& set) { set_title(lane, set.title); },
                   [&](const event::Progressed& progress) { set_percent(lane, progress.percent); },
                   [&](const event::FrameEnds& end) { finish_frame(lane, end.outcome); },
                   [&](const event::FrameGivenBack& back) {
                       drop_frame(lane);
                       if (!back.reason.empty())
                           log(label, "frame " + std::to_string(event.frame.value_or(0)) +
                                          " is tried again: " + back.reason);
                   },
                   [&](const event::Message& message) { log(label, message.text); },
                   [&](const event::JobEnds&) { close(); },
                   [](const auto&) {},
               },
               event.what);
}

void ProgressView::begin_frame(std::size_t lane, int frame) {
    const std::lock_guard lock(m_mutex);
    m_progress.lanes[lane] = {frame, "", 0};
    draw_line();
}

void ProgressView::set_title(std::size_t lane, std::string_view title) {
    // Not drawn: a title that the host sends is followed by a progress report.
    const std::lock_guard lock(m_mutex);
    m_progress.lanes[lane].title = printable(title);
}

void ProgressView::set_percent(std::size_t lane, double percent) {
    const std::lock_guard lock(m_mutex);
    if (percent >= 0) m_progress.lanes[lane].percent = percent;
    draw_line();
}

void ProgressView::finish_frame(std::size_t lane, const FrameOutcome& outcome) {
    const std::lock_guard lock(m_mutex);
    m_progress.lanes[lane] = {};
    ++m_progress.finished;
    m_progress.time_of_finished += outcome.time;
    erase_line();
    const bool failed = outcome.status == FrameOutcome::Status::failed;
    if (m_style == Style::plain)
        m_out << '[' << frames_of(m_progress.finished, m_progress.total) << ", " << time_left_text(m_progress)
              << "] ";
    if (m_style == Style::plain || failed) m_out << outcome_text(outcome) << '\n';
    if (failed) print_lines("    ", outcome.error);
    draw_line();
    m_out.flush();
}

void ProgressView::drop_frame(std::size_t lane) {
    const std::lock_guard lock(m_mutex);
    m_progress.lanes[lane] = {};
}

void ProgressView::log(std::string_view label, std::string_view text) {
    const std::lock_guard lock(m_mutex);
    erase_line();
    print_lines(label, text);
    draw_line();
    m_out.flush();
}

void ProgressView::close() {
    const std::lock_guard lock(m_mutex);
    erase_line();
    m_closed = true;
    m_out.flush();
}

void ProgressView::print_lines(std::string_view label, std::string_view text) {
    for (const std::string& line : printable_lines(text))
        m_out << label << line << '\n';
}

void ProgressView::erase_line() {
    if (m_drawn) m_out << "\r\x1b[K";
    m_drawn = false;
}

void ProgressView::draw_line() {
    if (m_style == Style::plain || m_closed) return;
    // The last column stays free: a line that fills it would make some terminals go on to the next one.
    m_out << '\r' << progress_line(m_progress, std::max<std::size_t>(m_width(), 2) - 1) << "\x1b[K";
    m_out.flush();
    m_drawn = true;
}

}  // namespace corrivane::worker
