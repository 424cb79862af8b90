#pragma once

#include "worker/job/job.h"

#include <string>
#include <string_view>

namespace corrivane::worker {

/// An output's name for the plug-in, which puts a number of at least four digits in front of the extension, from one
/// with the number's place in it as other programs have it: beauty.####.png becomes beauty..png, of which the plug-in
/// makes beauty.0007.png. A name without such a place stays as it is. Throws std::invalid_argument, with the spelling
/// that would be right, for a place that the plug-in does not number at or another number of digits.
std::string without_number_place(const std::string& name);

/// The name of an output's file for a frame, as the plug-in numbers it.
std::string frame_file_name(const std::string& name, int frame, const JobOptions& options);

/// The name's last element in another folder. `folder` may end in a separator.
std::string moved_to_folder(const std::string& folder, std::string_view name);

/// The folder in front of a name's last element, with its separator; empty where there is none.
std::string_view folder_of_name(std::string_view name);

}  // namespace corrivane::worker
