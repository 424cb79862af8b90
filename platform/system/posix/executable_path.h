#pragma once

#include <cstddef>

namespace system_detail {

// The path of the program that runs, cut off to fit with its terminator; empty when it cannot be found out.
// Returns its length. Filter-safe.
std::size_t read_executable_path(char* path, std::size_t capacity);

}  // namespace system_detail
