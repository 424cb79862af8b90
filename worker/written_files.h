#pragma once

#include <string>
#include <vector>

namespace corrivane::worker {

/// Looks whether a frame's files, named as the host names them, are there and hold something; the drives have
/// to be mapped as the host maps them. Returns what is wrong, or an empty text. No files at all is wrong too.
std::string check_written_files(const std::vector<std::string>& files);

}  // namespace corrivane::worker
