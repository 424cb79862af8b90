#include "worker/views/events_file.h"

#include "worker/views/cases.h"
#include "worker/views/frame_files.h"
#include "worker/views/reason.h"
#include "worker/views/text.h"
#include "worker/views/whole_write.h"

#include <fcntl.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <system_error>
#include <utility>

namespace corrivane::worker {
namespace {

using Json = nlohmann::ordered_json;
using Status = FrameOutcome::Status;

/// Raised when a reader of the former lines would misread the new ones; new keys and events don't raise it.
constexpr int schema_version = 1;

/// Progress that comes faster says nothing more.
constexpr std::chrono::milliseconds between_progress{1000};

const char* name_of(Status status) {
    constexpr const char* names[] = {"done", "failed", "notRendered"};
    return names[static_cast<int>(status)];
}

const char* name_of(event::Message::Source source) {
    constexpr const char* names[] = {"worker", "host", "script"};
    return names[static_cast<int>(source)];
}

Json line(const Event& event, const char* kind) {
    Json object{{"event", kind}, {"time", utc_time(event.time)}};
    if (event.host) object["host"] = *event.host + 1;
    if (event.frame) object["frame"] = *event.frame;
    return object;
}

Json line(const Event& event, const char* kind, const Json& more) {
    Json object = line(event, kind);
    object.update(more);
    return object;
}

Json job_line(const Event& event, const event::JobBegins& job) {
    return line(event, "job",
                {{"version", schema_version},
                 {"name", job.name},
                 {"scene", job.scene},
                 {"camera", job.camera},
                 {"output", job.output},
                 {"frames", job.frames},
                 {"hosts", job.hosts},
                 {"threads", job.threads},
                 {"worker", job.worker_version}});
}

Json quiet_line(const Event& event, const event::HostQuiet& quiet) {
    return line(event, "host",
                {{"state", "quiet"},
                 {"quietMs", quiet.quiet_for.count()},
                 {"cpuMs", quiet.cpu_time.count()},
                 {"memoryBytes", quiet.memory_bytes},
                 {"hostState", quiet.state},
                 {"title", quiet.title},
                 {"lastLines", quiet.last_lines}});
}

Json frame_end_line(const Event& event, const FrameOutcome& outcome, const CrashFiles& crashes) {
    Json object = line(event, "frame",
                       {{"state", name_of(outcome.status)},
                        {"skipped", outcome.skipped},
                        {"ms", outcome.time.count()},
                        {"attempts", outcome.attempts}});
    object["frame"] = outcome.frame;
    if (outcome.status == Status::failed) {
        object["reason"] = short_reason(outcome.error);
        object["error"] = outcome.error;
    }
    const auto& reports = crashes.of_frame(outcome.frame);
    if (!reports.empty()) object["crashReports"] = reports;
    return object;
}

Json file_line(const Event& event, int frame, const ImageFile& file) {
    Json object = line(event, "file",
                       {{"name", file.name},
                        {"path", file.path},
                        {"kind", name_of(file.kind)},
                        {"state", name_of(file.state)},
                        {"bytes", file.bytes}});
    object["frame"] = frame;
    if (!file.problem.empty()) object["problem"] = file.problem;
    return object;
}

Json retry_line(const Event& event, const event::FrameGivenBack& back) {
    if (back.reason.empty()) return line(event, "frame", {{"state", "interrupted"}});
    return line(event, "retry",
                {{"attempt", back.attempt}, {"reason", short_reason(back.reason)}, {"error", back.reason}});
}

Json fault_line(const Event& event, const event::CrashReported& crash, const CrashFiles& crashes) {
    Json object = line(event, "fault", {{"source", "host"}, {"text", crash.text}});
    const auto& files = crashes.of_frame(event.frame.value_or(0));
    if (event.frame && !files.empty()) object["path"] = files.back();
    return object;
}

Json message_line(const Event& event, const event::Message& message) {
    constexpr const char* kinds[] = {"message", "warning", "fault"};
    return line(event, kinds[static_cast<int>(message.severity)],
                {{"source", name_of(message.source)}, {"text", message.text}});
}

Json summary_line(const Event& event, const JobReport& report) {
    std::size_t counts[3] = {};
    for (const FrameOutcome& outcome : report.frames)
        ++counts[static_cast<int>(outcome.status)];
    return line(event, "summary",
                {{"success", report.success()},
                 {"stopped", report.stopped},
                 {"done", counts[0]},
                 {"failed", counts[1]},
                 {"notRendered", counts[2]},
                 {"left", report.left},
                 {"problems", report.problems},
                 {"ms", report.elapsed.count()}});
}

/// The lines of an event; TitleSet has none, since its title goes with the next progress.
std::vector<Json> lines_of(const Event& event, const JobProgress& progress, const CrashFiles& crashes) {
    return std::visit(
        Cases{
            [&](const event::JobBegins& job) { return std::vector{job_line(event, job)}; },
            [&](const event::HostStarts& host) {
                return std::vector{line(
                    event, "host",
                    {{"state", "starts"}, {"processId", host.process_id}, {"logFolder", host.log_folder}})};
            },
            [&](const event::HostReady& host) {
                return std::vector{line(event, "host", {{"state", "ready"}, {"greeting", host.greeting}})};
            },
            [&](const event::HostQuiet& quiet) { return std::vector{quiet_line(event, quiet)}; },
            [&](const event::HostEnds& host) {
                return std::vector{
                    line(event, "host", {{"state", host.failed ? "failed" : "ends"}, {"how", host.how}})};
            },
            [&](const event::FrameBegins& frame) {
                return std::vector{line(event, "frame", {{"state", "begins"}, {"attempt", frame.attempt}})};
            },
            [&](const event::Progressed& progressed) {
                Json object = line(event, "frame", {{"state", "progress"}});
                object["percent"] = std::round(progressed.percent * 10) / 10;
                object["jobPercent"] = std::round(progress.fraction() * 1000) / 10;
                const std::size_t host = event.host.value_or(0);
                if (host < progress.hosts().size()) object["title"] = progress.hosts()[host].title;
                return std::vector{object};
            },
            [&](const event::CrashReported& crash) { return std::vector{fault_line(event, crash, crashes)}; },
            [&](const event::FrameEnds& end) {
                std::vector<Json> lines;
                for (const ImageFile& file : frame_files(end.outcome))
                    lines.push_back(file_line(event, end.outcome.frame, file));
                lines.push_back(frame_end_line(event, end.outcome, crashes));
                return lines;
            },
            [&](const event::FrameGivenBack& back) { return std::vector{retry_line(event, back)}; },
            [&](const event::Message& message) { return std::vector{message_line(event, message)}; },
            [&](const event::JobEnds& end) { return std::vector{summary_line(event, end.report)}; },
            [](const auto&) { return std::vector<Json>{}; },
        },
        event.what);
}

}  // namespace

EventsFile::EventsFile(const std::string& path, const CrashFiles& crashes, Complain complain)
    : m_path(path),
      m_crashes(crashes),
      m_complain(std::move(complain)),
      m_file(::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666)) {
    if (m_file.get() == -1)
        throw std::system_error(errno, std::generic_category(),
                                "the events file " + path + " can't be opened");
}

void EventsFile::take(const Event& event) {
    m_progress.take(event);
    if (m_file.get() == -1 || is_too_soon(event)) return;
    for (const Json& object : lines_of(event, m_progress, m_crashes))
        write(object);
}

bool EventsFile::is_too_soon(const Event& event) {
    const std::size_t host = event.host.value_or(0);
    if (m_progress_written.size() <= host) m_progress_written.resize(host + 1);
    auto& last = m_progress_written[host];
    if (std::holds_alternative<event::FrameBegins>(event.what)) last = {};
    if (!std::holds_alternative<event::Progressed>(event.what)) return false;
    if (event.time >= last && event.time - last < between_progress) return true;
    last = event.time;
    return false;
}

/// What hosts send need not be UTF-8.
void EventsFile::write(const Json& object) {
    if (m_file.get() == -1) return;
    const off_t whole = ::lseek(m_file.get(), 0, SEEK_END);
    try {
        write_whole(m_file.get(), object.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n');
    } catch (const std::system_error& error) {
        // A pipe has no end and keeps what it took.
        [[maybe_unused]] const int cut_off = ::ftruncate(m_file.get(), whole);
        m_file.reset();
        m_complain("events are not written to " + m_path + " any more: " + error.code().message());
    }
}

}  // namespace corrivane::worker
