#pragma once

namespace corrivane::worker {

/// The styles of the page about a job.
extern const char* const report_style;

}  // namespace corrivane::worker
