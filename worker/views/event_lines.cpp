#include "worker/views/event_lines.h"

#include "worker/base/printable.h"
#include "worker/views/cases.h"
#include "worker/views/frame_files.h"
#include "worker/views/reason.h"
#include "worker/views/text.h"

namespace corrivane::worker {
namespace {

using Lines = std::vector<std::string>;

/// "14:30:05 host 1 frame 12: ", for what is of neither "14:30:05 job: ".
std::string prefix(const Event& event) {
    std::string text = clock_time(event.time);
    if (event.host) text += " host " + std::to_string(*event.host + 1);
    if (event.frame) text += " frame " + std::to_string(*event.frame);
    return text + (event.host || event.frame ? ": " : " job: ");
}

std::string begin_text(const event::JobBegins& job) {
    std::string text = "begins: " + counted(job.frames.size(), "frame") + " (" + frame_ranges(job.frames) +
                       ") of " + job.scene;
    if (!job.name.empty()) text = '"' + job.name + "\" " + text;
    if (!job.camera.empty()) text += ", camera " + job.camera;
    if (!job.output.empty()) text += ", output " + job.output;
    text += ", " + counted(job.hosts, "host");
    if (job.threads > 0) text += " of " + counted(static_cast<std::size_t>(job.threads), "thread");
    return printable(text);
}

std::string start_text(const event::HostStarts& host) {
    std::string text = "starts";
    if (host.process_id != 0) text += ", process " + std::to_string(host.process_id);
    if (!host.log_folder.empty()) text += ", its log is in " + host.log_folder;
    return printable(text);
}

Lines quiet_lines(const event::HostQuiet& quiet) {
    std::string text = "quiet for " + format_seconds(quiet.quiet_for) + ", with " +
                       format_seconds(quiet.cpu_time) + " of processor time and " +
                       format_bytes(quiet.memory_bytes) + " of memory";
    if (!quiet.state.empty()) text += "; it is " + quiet.state;
    if (!quiet.title.empty()) text += "; its last title: " + quiet.title;
    Lines lines{"warning: " + printable(text)};
    if (!quiet.last_lines.empty())
        for (const std::string& line : printable_lines(quiet.last_lines))
            lines.push_back("    " + line);
    return lines;
}

std::string ended_text(const event::HostEnds& host) {
    return (host.failed ? "failed: " : "ends: ") + printable(host.how.substr(0, host.how.find('\n')));
}

/// The first line of an error in words, the others below it.
Lines error_lines(const std::string& begin, int frame, const std::string& error, const CrashFiles& crashes) {
    Lines lines = crashes.without_report(frame, error);
    lines.front() = begin + in_words(lines.front());
    for (std::size_t i = 1; i < lines.size(); ++i)
        lines[i].insert(0, "    ");
    return lines;
}

std::string progress_text(const JobProgress& progress) {
    const auto left = progress.time_left();
    return " (" + std::to_string(progress.finished()) + " of " + std::to_string(progress.total()) +
           (left ? ", " + format_duration(*left) + " left)" : ")");
}

Lines finished_lines(const FrameOutcome& outcome, const JobProgress& progress, const CrashFiles& crashes) {
    if (outcome.status == FrameOutcome::Status::failed)
        return error_lines("failed after " + format_seconds(outcome.time) + progress_text(progress) + ": ",
                           outcome.frame, outcome.error, crashes);
    if (outcome.status == FrameOutcome::Status::not_rendered) return {"not rendered"};
    if (outcome.skipped)
        return {"skipped, what it would write is there" + progress_text(progress) + files_text(outcome)};
    return {"done in " + format_seconds(outcome.time) + progress_text(progress) + files_text(outcome)};
}

Lines crash_lines(const Event& event, const event::CrashReported& crash, const CrashFiles& crashes) {
    const auto& files = crashes.of_frame(event.frame.value_or(0));
    if (event.frame && !files.empty()) return {"its crash report is kept in " + printable(files.back())};
    return printable_lines(crash.text);
}

Lines message_lines(const event::Message& message) {
    using Severity = event::Message::Severity;
    using Source = event::Message::Source;
    const std::string label = message.source == Source::script        ? "script: "
                              : message.source == Source::host        ? ""  // its lines say so themselves
                              : message.severity == Severity::error   ? "error: "
                              : message.severity == Severity::warning ? "warning: "
                                                                      : "";
    Lines lines = printable_lines(message.text);
    if (message.severity != Severity::info) lines.front() = in_words(lines.front());
    for (std::string& line : lines)
        line.insert(0, label);
    return lines;
}

Lines texts_of(const Event& event, const JobProgress& progress, const CrashFiles& crashes, Detail detail) {
    const bool all = detail == Detail::all;
    const auto detailed = [all](const std::string& text) { return all ? Lines{text} : Lines{}; };
    return std::visit(
        Cases{
            [&](const event::JobBegins& job) { return detailed(begin_text(job)); },
            [&](const event::HostStarts& host) { return detailed(start_text(host)); },
            [&](const event::HostReady& host) { return detailed("ready: " + printable(host.greeting)); },
            [&](const event::HostQuiet& quiet) { return quiet_lines(quiet); },
            [&](const event::HostEnds& host) {
                return all || host.failed ? Lines{ended_text(host)} : Lines{};
            },
            [&](const event::FrameBegins& frame) {
                return detailed(frame.attempt == 1 ? "begins"
                                                   : "begins, attempt " + std::to_string(frame.attempt));
            },
            [&](const event::FrameEnds& end) {
                const bool failed = end.outcome.status == FrameOutcome::Status::failed;
                return all || failed ? finished_lines(end.outcome, progress, crashes) : Lines{};
            },
            [&](const event::FrameGivenBack& back) {
                if (back.reason.empty()) return detailed("interrupted");
                return error_lines("attempt " + std::to_string(back.attempt) + " failed, it is tried again: ",
                                   event.frame.value_or(0), back.reason, crashes);
            },
            [&](const event::CrashReported& crash) { return crash_lines(event, crash, crashes); },
            [&](const event::Message& message) { return message_lines(message); },
            [](const auto&) { return Lines{}; },
        },
        event.what);
}

}  // namespace

std::vector<std::string> event_lines(const Event& event, const JobProgress& progress,
                                     const CrashFiles& crashes, Detail detail) {
    Lines lines = texts_of(event, progress, crashes, detail);
    for (std::string& line : lines)
        line.insert(0, prefix(event));
    return lines;
}

}  // namespace corrivane::worker
