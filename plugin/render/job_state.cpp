#include "render/job_state.h"

#include "support/exception_report.h"
#include "support/log.h"

#include <limits>
#include <stdexcept>

JobState::JobState() {
    // The filter assigns to it on top of a fault and must not allocate there.
    lastExceptionReport.reserve(report_text::capacity);
    lastExceptionReport = "No message";
    connect_log.open(connect_log_path);
}

int JobState::FilterSehException(DWORD code, EXCEPTION_POINTERS* information) {
    report_text report;
    build_exception_report(*information, report);
    lastExceptionReport.assign(report.view());
    return is_handled_seh_exception(code) ? EXCEPTION_EXECUTE_HANDLER : EXCEPTION_CONTINUE_SEARCH;
}

std::string JobState::GetLastExceptionReport() const {
    return lastExceptionReport;
}

void JobState::ThrowTrappedFault(const std::string& errorText) const {
    throw std::runtime_error(errorText + "\n" + lastExceptionReport);
}

const std::string& JobState::GetOutputFilename(int index) const {
    if (index < 0 || static_cast<std::size_t>(index) >= writtenOutputFiles.size())
        throw std::invalid_argument("Output file requested doesn't exist");
    return writtenOutputFiles[static_cast<std::size_t>(index)];
}

TimeValue frame_time(int frame) {
    const long long ticks = static_cast<long long>(GetTicksPerFrame()) * frame;
    if (ticks < std::numeric_limits<TimeValue>::min() || ticks > std::numeric_limits<TimeValue>::max())
        throw std::runtime_error("Frame " + std::to_string(frame) + " is outside the range of scene times.");
    return static_cast<TimeValue>(ticks);
}
