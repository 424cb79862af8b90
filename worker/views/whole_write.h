#pragma once

#include <string>
#include <string_view>

namespace corrivane::worker {

/// Writes all of it to a descriptor. Throws std::system_error.
void write_whole(int descriptor, std::string_view bytes);

/// Makes or replaces a file: whole, or not at all. Throws std::system_error.
void replace_file(const std::string& path, std::string_view bytes);

}  // namespace corrivane::worker
