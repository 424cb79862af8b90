// What a crash report's stack walk asks the system for beyond the Win32 calls.
#pragma once

#include <tlhelp32.h>
#include <windows.h>

// The frame-pointer register at the moment of the fault. Filter-safe.
ULONG_PTR frame_pointer(const CONTEXT& context);

// Describes the loaded module whose memory holds the address. Returns false when there is none. Filter-safe.
// The path of a library is the one it was loaded by, so it can be relative.
bool find_loaded_module(const void* address, MODULEENTRY32* module);
