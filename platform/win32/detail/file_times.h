// Conversions between this system's times and Windows'.
#pragma once

#include <windows.h>

#include <ctime>

namespace win32_detail {

FILETIME to_file_time(const timespec& time);

// Notes the offset from UTC that is in force now, for FileTimeToLocalFileTime inside a filter: finding it out
// takes a lock of the C library.
void remember_utc_offset();

}  // namespace win32_detail
