#pragma once

#include "worker/events/job_report.h"

#include <chrono>
#include <string>

namespace corrivane::worker {

/// A few lines for people: how many frames went which way, in what time, which failed and why in short, and
/// the files.
std::string summary_text(const JobReport& report);

/// Minutes and seconds as 0:07 or 12:34, hours before them where there are any.
std::string format_duration(std::chrono::milliseconds duration);

/// Seconds with two decimals and the unit.
std::string format_seconds(std::chrono::milliseconds duration);

}  // namespace corrivane::worker
