#pragma once

#include <cstdint>

namespace system_detail {

// Seconds that local time is ahead of UTC at this moment; inside a filter, when the thread's outermost guard
// was entered, since finding it out takes a lock of the C library. Filter-safe.
std::int64_t utc_offset_seconds();

// Notes the offset for filters to come.
void remember_utc_offset();

}  // namespace system_detail
