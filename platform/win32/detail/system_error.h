// What the Win32 calls say when the system underneath refuses.
#pragma once

#include "system/posix/mapped_path.h"

#include <windows.h>

#include <string_view>

namespace win32_detail {

// The Win32 error for an errno. Filter-safe.
DWORD system_error(int error_number);

// The Win32 error for an errno that a call on the path gave: it looks at the file system to tell a missing
// name from a missing folder, drive or share. Filter-safe.
DWORD path_error(int error_number, const system_detail::MappedPath& path);

// Windows' English text for an error number, without its line end; empty when there is none.
std::string_view error_text(DWORD error);

}  // namespace win32_detail
