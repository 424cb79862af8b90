// The record that describes a loaded module. Walking a snapshot of all modules takes the loader's lock, which
// the code that just faulted may hold; find_loaded_module (system/stack_walk.h) fills the same record
// without it.
#pragma once

#include <windows.h>

inline constexpr int MAX_MODULE_NAME32 = 255;

struct MODULEENTRY32 {
    DWORD dwSize;
    DWORD th32ModuleID;
    DWORD th32ProcessID;
    DWORD GlblcntUsage;
    DWORD ProccntUsage;
    BYTE* modBaseAddr;
    DWORD modBaseSize;  // bytes
    HMODULE hModule;
    char szModule[MAX_MODULE_NAME32 + 1];  // name without folder
    char szExePath[MAX_PATH];              // full path, cut off at 259 characters
};
