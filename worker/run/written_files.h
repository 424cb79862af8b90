#pragma once

#include "worker/job/job.h"

#include <optional>
#include <string>
#include <vector>

namespace corrivane::worker {

// Names are those of the host; the drives have to be mapped as the host maps them.

/// Looks whether the files that a frame wrote are there and hold something. Returns what is wrong, or an
/// empty text. Files that are not known are wrong too.
std::string check_written_files(const std::optional<std::vector<std::string>>& files);

/// Looks at the file of a frame that wrote none. The plug-in answers alike for a frame that it skipped since
/// its file is there and for a scene that saves nothing, so only a file that is there can be wrong: it must
/// hold something.
std::string check_skipped_file(const std::string& file);

/// The name of a frame's file, as the plug-in numbers it.
std::string frame_file_name(const std::string& output, int frame, const JobOptions& options);

}  // namespace corrivane::worker
