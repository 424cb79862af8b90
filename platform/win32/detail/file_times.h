#pragma once

#include <windows.h>

#include <ctime>

namespace win32_detail {

// This system's time as Windows counts it; times before 1601 are its beginning.
FILETIME to_file_time(const timespec& time);

}  // namespace win32_detail
