#include "render/job_state.h"

#include "support/exception_report.h"
#include "support/log.h"

#include <cstdint>
#include <stdexcept>

JobState::JobState() {
    // The filter assigns to it on top of a fault and must not allocate there.
    lastExceptionReport.reserve(report_text::capacity);
    lastExceptionReport = "No message";
    connect_log.open(connect_log_path);
}

int JobState::FilterSehException(DWORD code, EXCEPTION_POINTERS* exceptionInformation) {
    lastExceptionReport.assign(build_exception_report(*exceptionInformation));
    return is_handled_seh_exception(code) ? EXCEPTION_EXECUTE_HANDLER : EXCEPTION_CONTINUE_SEARCH;
}

std::string JobState::GetLastExceptionReport() const {
    return lastExceptionReport;
}

const std::string& JobState::GetOutputFilename(int index) const {
    if (index < 0 || static_cast<std::size_t>(index) >= writtenOutputFiles.size())
        throw std::invalid_argument("Output file requested doesn't exist");
    return writtenOutputFiles[static_cast<std::size_t>(index)];
}

TimeValue frame_time(int frame) {
    return static_cast<TimeValue>(static_cast<std::uint32_t>(GetTicksPerFrame()) *
                                  static_cast<std::uint32_t>(frame));
}
