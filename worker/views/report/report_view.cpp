#include "worker/views/report/report_view.h"

#include "worker/views/cases.h"
#include "worker/views/report/machine.h"
#include "worker/views/report/page.h"
#include "worker/views/text.h"
#include "worker/views/whole_write.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>

namespace corrivane::worker {
namespace {

/// A page with more pictures would take long to open.
constexpr std::size_t most_pictures = 1000;
/// A job that warns without end fills no memory.
constexpr std::size_t most_notes = 500;

/// Image files to make a picture of, the best first. A preview is the quickest to read.
std::vector<std::string> picture_sources(const FrameOutcome& outcome) {
    std::vector<std::string> files;
    using Kind = ImageFile::Kind;
    for (const Kind kind : {Kind::preview, Kind::output, Kind::element})
        for (const ImageFile& file : outcome.images)
            if (file.kind == kind && !file.path.empty()) files.push_back(file.path);
    return files;
}

}  // namespace

ReportView::ReportView(const std::string& folder, const CrashFiles& crashes, Complain complain)
    : m_file((std::filesystem::path(folder) / "index.html").string()),
      m_crashes(crashes),
      m_complain(std::move(complain)) {
    std::filesystem::create_directories(folder);
}

void ReportView::take(const Event& event) {
    using Severity = event::Message::Severity;
    std::visit(Cases{
                   [&](const event::JobBegins& job) {
                       m_data.job = job;
                       m_data.began = event.time;
                   },
                   [&](const event::HostReady& host) {
                       if (std::ranges::find(m_data.greetings, host.greeting) == m_data.greetings.end())
                           m_data.greetings.push_back(host.greeting);
                   },
                   [&](const event::HostQuiet& quiet) {
                       note(event, false, "quiet for " + format_seconds(quiet.quiet_for));
                   },
                   [&](const event::HostEnds& host) {
                       if (host.failed) note(event, true, host.how);
                   },
                   [&](const event::FrameGivenBack& back) {
                       if (!back.reason.empty() && m_data.retries.size() < most_notes)
                           m_data.retries.push_back(
                               {event.time, event.host, event.frame, back.attempt, back.reason});
                   },
                   [&](const event::CrashReported& crash) {
                       const int frame = event.frame.value_or(0);
                       const auto& files = m_crashes.of_frame(frame);
                       m_data.crash_reports[frame].push_back({files.empty() ? "" : files.back(), crash.text});
                   },
                   [&](const event::FrameEnds& end) { add_picture(end.outcome); },
                   [&](const event::Message& message) {
                       if (message.severity != Severity::info)
                           note(event, message.severity == Severity::error, message.text);
                   },
                   [&](const event::JobEnds& end) { write(event, end.report); },
                   [](const auto&) {},
               },
               event.what);
}

void ReportView::note(const Event& event, bool is_error, const std::string& text) {
    if (m_data.notes.size() < most_notes)
        m_data.notes.push_back({event.time, event.host, event.frame, is_error, text});
}

/// Of a long job every second, third … frame gets a picture.
void ReportView::add_picture(const FrameOutcome& outcome) {
    if (outcome.status != FrameOutcome::Status::done) return;
    const std::size_t step = (m_data.job.frames.size() + most_pictures - 1) / most_pictures;
    if (m_frames_done++ % std::max<std::size_t>(step, 1) == 0)
        m_thumbnails.add(outcome.frame, picture_sources(outcome));
}

void ReportView::write(const Event& event, const JobReport& report) {
    m_data.ended = event.time;
    m_data.report = report;
    m_data.pictures = m_thumbnails.finish(!report.stopped);
    m_data.machine = machine_facts();
    try {
        replace_file(m_file, report_page(m_data));
        m_written_file = m_file;
    } catch (const std::system_error& error) {
        m_complain("the report can't be written to " + m_file + ": " + error.code().message());
    }
}

}  // namespace corrivane::worker
