// A walk over the loaded modules, as far as a crash report needs it. Nothing here takes the loader's lock, which the
// code that just faulted may hold: all of it is filter-safe.
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
    // Full path, cut off at 259 characters; that of a library as it was loaded, so it can be relative.
    char szExePath[MAX_PATH];
};

inline constexpr DWORD TH32CS_SNAPMODULE = 8;

// A handle to walk the modules of this process with (process 0 or this one's number, TH32CS_SNAPMODULE; all else
// fails with ERROR_INVALID_PARAMETER). One walk at a time and thread: the handle stands for it, and a walk that is
// begun ends the one before. It is no copy: a module that another thread unloads meanwhile may end the walk early.
HANDLE CreateToolhelp32Snapshot(DWORD what, DWORD process);

// The first and the next module; the program itself comes first. `dwSize` has to be that of the record, or the calls
// fail with ERROR_INSUFFICIENT_BUFFER. FALSE with ERROR_NO_MORE_FILES behind the last.
BOOL Module32First(HANDLE snapshot, MODULEENTRY32* module);
BOOL Module32Next(HANDLE snapshot, MODULEENTRY32* module);
