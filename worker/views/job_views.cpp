#include "worker/views/job_views.h"

#include "worker/base/printable.h"
#include "worker/views/events_file.h"
#include "worker/views/farm_view.h"
#include "worker/views/lines_view.h"
#include "worker/views/report/report_view.h"
#include "worker/views/summary.h"

namespace corrivane::worker {

using Progress = ViewSettings::Progress;

JobViews::JobViews(const ViewSettings& settings, Screen screen)
    : m_crashes(settings.crash_reports, [this](const std::string& problem) { complain(problem); }) {
    const auto complaint = [this](const std::string& problem) { complain(problem); };
    if (!settings.events.empty())
        m_views.push_back(std::make_unique<EventsFile>(settings.events, m_crashes, complaint));
    if (!settings.report.empty()) {
        auto report = std::make_unique<ReportView>(settings.report, m_crashes, complaint);
        m_report = report.get();
        m_views.push_back(std::move(report));
    }
    add_screen(settings.progress, screen);
}

void JobViews::add_screen(Progress progress, const Screen& screen) {
    if (progress == Progress::automatic) progress = screen.is_terminal ? Progress::bar : Progress::lines;
    if (progress == Progress::bar)
        m_views.push_back(std::make_unique<BarView>(screen.out, screen.size, m_crashes));
    if (progress == Progress::lines || progress == Progress::farm)
        m_views.push_back(std::make_unique<LinesView>(screen.out, m_crashes));
    if (progress == Progress::farm) m_views.push_back(std::make_unique<FarmView>(screen.out));
}

void JobViews::take(const Event& event) {
    deliver(event);
    // Saying one problem may bring up another.
    while (m_problems_said < m_problems.size())
        deliver({event.time,
                 {},
                 {},
                 event::Message{event::Message::Severity::warning, event::Message::Source::worker,
                                m_problems[m_problems_said++]}});
}

void JobViews::deliver(const Event& event) {
    m_crashes.take(event);
    for (const auto& view : m_views)
        view->take(event);
}

void JobViews::complain(const std::string& problem) {
    m_problems.push_back(problem);
}

std::string JobViews::summary(const JobReport& report) const {
    std::string text = summary_text(report, m_crashes);
    for (const std::string& problem : m_problems)
        text += "warning: " + printable(problem) + '\n';
    if (m_report != nullptr && !m_report->written_file().empty())
        text += "report: " + printable(m_report->written_file()) + '\n';
    return text;
}

}  // namespace corrivane::worker
