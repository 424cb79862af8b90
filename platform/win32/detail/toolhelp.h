#pragma once

#include <windows.h>

namespace win32_detail {

// What CreateToolhelp32Snapshot gives; CloseHandle takes it and has nothing to close.
HANDLE module_walk_handle();

}  // namespace win32_detail
