// What the Win32 calls say when the system underneath refuses.
#pragma once

#include <windows.h>

#include <string_view>

namespace win32_detail {

// The Win32 error for an errno. Filter-safe.
DWORD system_error(int error_number);

// Windows' English text for an error number, without its line end; empty when there is none.
std::string_view error_text(DWORD error);

}  // namespace win32_detail
