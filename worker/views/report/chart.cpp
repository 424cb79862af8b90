#include "worker/views/report/chart.h"

#include "worker/views/report/html.h"
#include "worker/views/text.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

namespace corrivane::worker {
namespace {

using Status = FrameOutcome::Status;

std::string number(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.3g", value);
    return text;
}

std::string percent(double fraction) {
    char text[32];
    std::snprintf(text, sizeof text, "%.2f%%", fraction * 100);
    return text;
}

double seconds(std::chrono::milliseconds time) {
    return std::chrono::duration<double>(time).count();
}

/// A round step of which three to six fit below `top`; in seconds, and in minutes where those are rounder.
double round_step(double top) {
    for (const double step : {0.01, 0.02, 0.05, 0.1, 0.2, 0.5, 1.0, 2.0, 5.0, 10.0, 20.0, 30.0, 60.0, 120.0,
                              300.0, 600.0, 1200.0, 1800.0, 3600.0})
        if (top / step <= 5) return step;
    return std::ceil(top / 5 / 3600) * 3600;
}

std::string time_label(double time) {
    if (time < 60) return number(time) + " s";
    return format_duration(std::chrono::milliseconds(std::llround(time * 1000)));
}

/// Height 1 is the top of the chart. One that took no time still shows that it was there.
std::string bar(std::size_t place, const FrameOutcome& outcome, double top) {
    const std::string frame = std::to_string(outcome.frame);
    const std::string css = frame_class(outcome);
    const double least = 0.006;
    const double height =
        outcome.status == Status::not_rendered ? 1 : std::max(least, seconds(outcome.time) / top);
    char shape[96];
    std::snprintf(shape, sizeof shape, "x=\"%.2f\" y=\"%.4f\" width=\".8\" height=\"%.4f\"",
                  static_cast<double>(place) + 0.1, 1 - height, height);
    const std::string told =
        outcome.status == Status::not_rendered ? "not rendered" : format_seconds(outcome.time);
    const std::string word = css == "failed" ? ", failed" : css == "skipped" ? ", skipped" : "";
    return "<a href=\"#frame-" + frame + "\"><rect class=\"" + css + "\" " + shape + "><title>frame " +
           frame + ": " + told + word + "</title></rect></a>\n";
}

std::string line_at(double time, double top, const std::string& css, const std::string& label) {
    return "<div class=\"" + css + "\" style=\"bottom:" + percent(time / top) + "\"><span>" + label +
           "</span></div>\n";
}

}  // namespace

const char* frame_class(const FrameOutcome& outcome) {
    if (outcome.status == Status::failed) return "failed";
    if (outcome.status == Status::not_rendered) return "left";
    return outcome.skipped ? "skipped" : "done";
}

std::chrono::milliseconds median_time(const JobReport& report) {
    std::vector<std::chrono::milliseconds> times;
    for (const FrameOutcome& outcome : report.frames)
        if (outcome.status == Status::done && !outcome.skipped) times.push_back(outcome.time);
    if (times.empty()) return {};
    const auto middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
    std::nth_element(times.begin(), middle, times.end());
    return *middle;
}

std::string time_chart(const JobReport& report) {
    double longest = 0.01;
    for (const FrameOutcome& outcome : report.frames)
        longest = std::max(longest, seconds(outcome.time));
    const double step = round_step(longest);
    const double top = std::ceil(longest / step + 0.05) * step;
    std::string lines;
    for (int i = 0; i * step < top * 1.001; ++i)
        lines += line_at(i * step, top, "grid", time_label(i * step));
    const double median = seconds(median_time(report));
    if (median > 0) lines += line_at(median, top, "median", "median " + time_label(median));
    std::string bars;
    for (std::size_t i = 0; i < report.frames.size(); ++i)
        bars += bar(i, report.frames[i], top);
    // The axis is labelled by letters of the page, which stay as they are while the bars are stretched.
    return "<div class=\"chart\">\n" + lines + "<svg viewBox=\"0 0 " +
           std::to_string(std::max<std::size_t>(report.frames.size(), 1)) +
           " 1\" preserveAspectRatio=\"none\" role=\"img\" aria-label=\"Time of each frame\">\n" + bars +
           "</svg>\n</div>\n<div class=\"ends\"><span>frame " + std::to_string(report.frames.front().frame) +
           "</span><span>frame " + std::to_string(report.frames.back().frame) + "</span></div>\n";
}

}  // namespace corrivane::worker
