#include "detail/safe_memory.h"

#include <seh_guard.h>
#include <tlhelp32.h>
#include <windows.h>

#include <dlfcn.h>
#include <link.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <string_view>

namespace {

constexpr std::uintptr_t page_size = 4096;

// Returns the length, at most capacity - 1; readlink itself never terminates the text.
std::size_t read_executable_path(char* path, std::size_t capacity) {
    const ssize_t length = readlink("/proc/self/exe", path, capacity - 1);
    const auto end = static_cast<std::size_t>(std::max<ssize_t>(length, 0));
    path[end] = '\0';
    return end;
}

// The loader may unload another module at this moment, and its name with it: the name is read as memory that
// may go.
void read_module_path(const link_map& map, char (&path)[MAX_PATH]) {
    const std::size_t length = win32_detail::copy_readable(path, map.l_name, sizeof(path) - 1);
    path[length] = '\0';
    if (path[0] == '\0') read_executable_path(path, sizeof(path));  // the main program has an empty name
}

std::string_view file_name(std::string_view path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string_view::npos ? path : path.substr(slash + 1);
}

}  // namespace

bool find_loaded_module(const void* address, MODULEENTRY32* module) {
    *module = {};
    module->dwSize = sizeof(*module);
    // The one lookup of the C library that neither locks nor allocates.
    dl_find_object object;
    if (_dl_find_object(const_cast<void*>(address), &object) != 0) return false;
    const auto begin = reinterpret_cast<std::uintptr_t>(object.dlfo_map_start) & ~(page_size - 1);
    const auto end = reinterpret_cast<std::uintptr_t>(object.dlfo_map_end);
    module->th32ProcessID = static_cast<DWORD>(getpid());
    module->modBaseAddr = reinterpret_cast<BYTE*>(begin);
    module->modBaseSize = static_cast<DWORD>(end - begin);
    module->hModule = module->modBaseAddr;
    read_module_path(*object.dlfo_link_map, module->szExePath);
    const std::string_view name = file_name(module->szExePath);
    std::memcpy(module->szModule, name.data(), std::min(name.size(), sizeof(module->szModule) - 1));
    return true;
}

DWORD GetModuleFileNameA(HMODULE module, LPSTR path, DWORD capacity) {
    if (capacity == 0) {
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return 0;
    }
    char full[MAX_PATH * 16];
    std::size_t length = 0;
    if (module == nullptr) {
        length = read_executable_path(full, sizeof(full));
    } else {
        MODULEENTRY32 entry;
        if (!find_loaded_module(module, &entry) || entry.hModule != module) {
            SetLastError(ERROR_MOD_NOT_FOUND);
            return 0;
        }
        lstrcpynA(full, entry.szExePath, sizeof(full));
        length = std::strlen(full);
    }
    lstrcpynA(path, full, static_cast<int>(std::min<std::size_t>(capacity, sizeof(full))));
    if (length < capacity) return static_cast<DWORD>(length);
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
