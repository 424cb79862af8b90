#pragma once

#include "worker/base/file_descriptor.h"
#include "worker/events/job_events.h"
#include "worker/views/complaints.h"
#include "worker/views/crash_files.h"
#include "worker/views/job_progress.h"

#include <nlohmann/json_fwd.hpp>

#include <chrono>
#include <string>
#include <vector>

namespace corrivane::worker {

/// Appends a job's events to a file for programs: one JSON object a line, in the form that docs/events.md
/// describes. A line is written at once and whole; when one can't be, the file ends with the one before, and the
/// job goes on without it.
class EventsFile : public EventSink {
public:
    /// `crashes` stays in use and is fed before this. Throws std::system_error when the file can't be opened.
    EventsFile(const std::string& path, const CrashFiles& crashes, Complain complain);

    void take(const Event& event) override;

private:
    bool is_too_soon(const Event& event);
    void write(const nlohmann::ordered_json& line);

    std::string m_path;
    const CrashFiles& m_crashes;
    Complain m_complain;
    FileDescriptor m_file;
    JobProgress m_progress;
    std::vector<std::chrono::system_clock::time_point> m_progress_written;  // by host
};

}  // namespace corrivane::worker
