#include "worker/views/summary.h"

#include "worker/base/printable.h"

#include <algorithm>
#include <cstdio>
#include <map>

namespace corrivane::worker {
namespace {

using Status = FrameOutcome::Status;

std::string first_line(const std::string& text) {
    return printable(std::string_view(text).substr(0, text.find('\n')));
}

std::string counted(std::size_t count, const std::string& noun) {
    return std::to_string(count) + ' ' + noun + (count == 1 ? "" : "s");
}

std::string frame_counts(const JobReport& report) {
    std::map<Status, std::size_t> counts;
    std::chrono::milliseconds time_of_done{0};
    for (const FrameOutcome& outcome : report.frames) {
        ++counts[outcome.status];
        if (outcome.status == Status::done) time_of_done += outcome.time;
    }
    const std::size_t done = counts[Status::done];
    std::string text = counted(report.frames.size(), "frame") + ": " + std::to_string(done) + " done, " +
                       std::to_string(counts[Status::failed]) + " failed, " +
                       std::to_string(counts[Status::not_rendered]) + " not rendered; " +
                       format_duration(report.elapsed) + " in all";
    if (done > 0) text += ", " + format_seconds(time_of_done / done) + " a frame";
    return text;
}

std::string file_range(const JobReport& report) {
    std::vector<const std::string*> files;
    std::size_t frames_of_unknown_files = 0;
    for (const FrameOutcome& outcome : report.frames) {
        if (outcome.status == Status::done && !outcome.files) ++frames_of_unknown_files;
        if (!outcome.files) continue;
        for (const std::string& file : *outcome.files)
            files.push_back(&file);
    }
    std::string text = counted(files.size(), "file") + " written";
    if (!files.empty()) text += ": " + printable(*files.front());
    if (files.size() > 1) text += " ... " + printable(*files.back());
    if (frames_of_unknown_files > 0)
        text += "; the files of " + counted(frames_of_unknown_files, "frame") + " are not known";
    return text;
}

}  // namespace

std::string summary_text(const JobReport& report) {
    std::string text = frame_counts(report) + '\n';
    for (const FrameOutcome& outcome : report.frames)
        if (outcome.status == Status::failed)
            text +=
                "  frame " + std::to_string(outcome.frame) + " failed: " + first_line(outcome.error) + '\n';
    for (const std::string& problem : report.problems)
        text += "  " + first_line(problem) + '\n';
    if (report.stopped) text += "  stopped by the user\n";
    return text + file_range(report) + '\n';
}

std::string format_duration(std::chrono::milliseconds duration) {
    const auto seconds = std::chrono::round<std::chrono::seconds>(duration).count();
    char text[48];
    if (seconds < 3600)
        std::snprintf(text, sizeof text, "%lld:%02lld", static_cast<long long>(seconds / 60),
                      static_cast<long long>(seconds % 60));
    else
        std::snprintf(text, sizeof text, "%lld:%02lld:%02lld", static_cast<long long>(seconds / 3600),
                      static_cast<long long>(seconds / 60 % 60), static_cast<long long>(seconds % 60));
    return text;
}

std::string format_seconds(std::chrono::milliseconds duration) {
    char text[48];
    std::snprintf(text, sizeof text, "%.2f s", std::chrono::duration<double>(duration).count());
    return text;
}

}  // namespace corrivane::worker
