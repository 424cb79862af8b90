#pragma once

#include "worker/events/job_report.h"
#include "worker/views/crash_files.h"

#include <string>

namespace corrivane::worker {

/// A few lines for people: how many frames went which way, in what time, which failed and why, their crash
/// reports, the files, what was skipped and what is left.
std::string summary_text(const JobReport& report, const CrashFiles& crashes);

}  // namespace corrivane::worker
