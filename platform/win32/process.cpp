#include "system/posix/executable_path.h"
#include "system/posix/safe_memory.h"

#include <windows.h>

#include <algorithm>
#include <cstring>

HANDLE GetCurrentProcess() {
    return reinterpret_cast<HANDLE>(static_cast<LONG_PTR>(-1));
}

BOOL IsBadReadPtr(const void* address, UINT_PTR count) {
    char part[256];
    const auto* source = static_cast<const char*>(address);
    while (count > 0) {
        const std::size_t wanted = std::min<std::size_t>(count, sizeof(part));
        if (system_detail::copy_readable(part, source, wanted) != wanted) return TRUE;
        source += wanted;
        count -= wanted;
    }
    return FALSE;
}

BOOL IsBadCodePtr(FARPROC address) {
    return IsBadReadPtr(reinterpret_cast<const void*>(address), 1);
}

BOOL ReadProcessMemory(HANDLE process, LPCVOID from, LPVOID to, SIZE_T count, SIZE_T* done) {
    if (process != GetCurrentProcess()) {
        SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    const std::size_t copied = system_detail::copy_readable(to, from, count);
    if (done != nullptr) *done = copied;
    if (copied == count) return TRUE;
    SetLastError(ERROR_PARTIAL_COPY);
    return FALSE;
}

DWORD GetModuleFileNameA(HMODULE module, LPSTR path, DWORD capacity) {
    if (module != nullptr || capacity == 0) {
        SetLastError(module != nullptr ? ERROR_MOD_NOT_FOUND : ERROR_INSUFFICIENT_BUFFER);
        return 0;
    }
    const auto length = static_cast<DWORD>(system_detail::read_executable_path(path, capacity));
    if (length + 1 < capacity) return length;
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return capacity;
}

LPSTR lstrcpynA(LPSTR to, LPCSTR from, int capacity) {
    if (to == nullptr || from == nullptr || capacity <= 0) return nullptr;
    const std::size_t length = strnlen(from, static_cast<std::size_t>(capacity) - 1);
    std::memcpy(to, from, length);
    to[length] = '\0';
    return to;
}
