#pragma once

#include "worker/events/job_events.h"

#include <chrono>
#include <cstddef>
#include <mutex>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace corrivane::worker {

/// What a job's progress is made of; the text functions below need nothing else.
struct JobProgress {
    struct Lane {  // one host at work
        std::optional<int> frame;
        std::string title;   // what the host does
        double percent = 0;  // of its frame
    };

    JobProgress(std::size_t frame_count, std::size_t lane_count) : total(frame_count), lanes(lane_count) {}

    /// Finished frames and the rendered parts of those under way, 0 to total.
    double frames_rendered() const;

    /// Estimated from the frames that are finished; nothing before the first one is.
    std::optional<std::chrono::milliseconds> time_left() const;

    std::size_t total;
    std::size_t finished = 0;
    std::chrono::milliseconds time_of_finished{0};  // the sum over them
    std::vector<Lane> lanes;
};

/// The line that a terminal shows while a job runs: bar, percentage, frames, titles and time left, cut
/// to `width`.
std::string progress_line(const JobProgress& progress, std::size_t width);

/// Shows a job to people: on a terminal a line that follows the progress, elsewhere one line a frame, and on
/// both failures in full and what scripts log. May be used by several threads.
class ProgressView : public EventSink {
public:
    enum class Style { terminal, plain };

    /// `out` stays in use and is written to by nobody else meanwhile. `width` is asked for the
    /// terminal's columns.
    ProgressView(
        std::ostream& out, Style style, std::size_t frame_count, std::size_t lane_count,
        std::size_t (*width)() = [] { return std::size_t{80}; });

    void take(const Event& event) override;

    void begin_frame(std::size_t lane, int frame);
    void set_title(std::size_t lane, std::string_view title);
    /// 0 to 100; -1 changes nothing.
    void set_percent(std::size_t lane, double percent);
    /// The frame is over for good.
    void finish_frame(std::size_t lane, const FrameOutcome& outcome);
    /// The lane has no frame any more; it may be tried again.
    void drop_frame(std::size_t lane);

    /// A text of one or more lines, for example a script's; each line gets the label in front.
    void log(std::string_view label, std::string_view text);

    /// Takes the progress line away.
    void close();

private:
    void print_lines(std::string_view label, std::string_view text);
    void erase_line();
    void draw_line();

    std::mutex m_mutex;
    std::ostream& m_out;
    const Style m_style;
    std::size_t (*m_width)();
    JobProgress m_progress;
    bool m_drawn = false;
    bool m_closed = false;
};

}  // namespace corrivane::worker
