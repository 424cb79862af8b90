#pragma once

#include "worker/events/job_events.h"
#include "worker/views/complaints.h"
#include "worker/views/crash_files.h"
#include "worker/views/report/report_data.h"
#include "worker/views/report/thumbnails.h"

#include <cstddef>
#include <string>

namespace corrivane::worker {

/// Gathers what happens in a job and writes, when it ends, a page about it: index.html in a folder, which needs
/// nothing else to be looked at. A page that is there is replaced.
class ReportView : public EventSink {
public:
    /// Makes the folder. `crashes` stays in use and is fed before this. Throws std::system_error.
    ReportView(const std::string& folder, const CrashFiles& crashes, Complain complain);

    void take(const Event& event) override;

    /// The page; empty until it is written, and where it can't be.
    const std::string& written_file() const { return m_written_file; }

private:
    void note(const Event& event, bool is_error, const std::string& text);
    void add_picture(const FrameOutcome& outcome);
    void write(const Event& event, const JobReport& report);

    std::string m_file;
    std::string m_written_file;
    const CrashFiles& m_crashes;
    Complain m_complain;
    ReportData m_data;
    Thumbnails m_thumbnails;
    std::size_t m_frames_done = 0;
};

}  // namespace corrivane::worker
