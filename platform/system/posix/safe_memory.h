// Reading memory that may not be there.
#pragma once

#include <cstddef>

namespace system_detail {

// Copies from the front for as far as the memory can be read; returns how many bytes. Never
// faults. Filter-safe.
std::size_t copy_readable(void* to, const void* from, std::size_t count);

}  // namespace system_detail
