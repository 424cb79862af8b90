#pragma once

#include "worker/events/job_events.h"
#include "worker/job/run_settings.h"
#include "worker/views/bar_view.h"
#include "worker/views/crash_files.h"

#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace corrivane::worker {

class ReportView;

/// Where a job is shown.
struct Screen {
    std::ostream& out;
    bool is_terminal = false;
    TerminalSize (*size)() = [] { return TerminalSize{}; };
};

/// Everything that shows or keeps a job, as the settings ask for it, fed by one sink. What a view can't do is said
/// by all of them, once, and in the summary.
class JobViews : public EventSink {
public:
    /// The screen's stream stays in use and is written to by nobody else until the job's end. Throws
    /// std::runtime_error when a file or folder that was asked for can't be made.
    JobViews(const ViewSettings& settings, Screen screen);
    JobViews(const JobViews&) = delete;
    JobViews& operator=(const JobViews&) = delete;

    void take(const Event& event) override;

    /// For people, when the job has ended: see summary_text. Names what the views kept.
    std::string summary(const JobReport& report) const;

private:
    void complain(const std::string& problem);
    void add_screen(ViewSettings::Progress progress, const Screen& screen);
    void deliver(const Event& event);

    CrashFiles m_crashes;
    std::vector<std::unique_ptr<EventSink>> m_views;
    std::vector<std::string> m_problems;
    std::size_t m_problems_said = 0;
    const ReportView* m_report = nullptr;  // one of the views
};

}  // namespace corrivane::worker
