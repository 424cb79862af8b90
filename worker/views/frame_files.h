#pragma once

#include "worker/events/job_report.h"

#include <string>
#include <vector>

namespace corrivane::worker {

/// The files of a frame; those of which only the names are known count as outputs that nobody looked at.
std::vector<ImageFile> frame_files(const FrameOutcome& outcome);

/// "output", "element", "alpha", "preview"; "verified", "failed", "unchecked".
const char* name_of(ImageFile::Kind kind);
const char* name_of(ImageFile::State state);

/// ": a.png, preview b.jpg" behind what became of the frame, or why there is none. Fit for a terminal.
std::string files_text(const FrameOutcome& outcome);

}  // namespace corrivane::worker
