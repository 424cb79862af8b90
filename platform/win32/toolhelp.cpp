#include "detail/toolhelp.h"

#include "system/posix/executable_path.h"
#include "system/posix/safe_memory.h"

#include <tlhelp32.h>

#include <dlfcn.h>
#include <link.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <string_view>

namespace {

constexpr std::uintptr_t page_size = 4096;

// Where the calling thread's walk goes on in the loader's list of modules.
[[gnu::tls_model("initial-exec")]] thread_local const link_map* t_next_module = nullptr;

BOOL fail(DWORD error) {
    SetLastError(error);
    return FALSE;
}

std::string_view file_name(std::string_view path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string_view::npos ? path : path.substr(slash + 1);
}

// The loader may unload another module at this moment, and its name with it: the name is read as memory that
// may go.
void read_module_path(const link_map& map, char (&path)[MAX_PATH]) {
    const std::size_t length = system_detail::copy_readable(path, map.l_name, sizeof(path) - 1);
    path[length] = '\0';
    if (path[0] == '\0') system_detail::read_executable_path(path, sizeof(path));  // the main program's name
}

// False for what has been unloaded meanwhile.
bool describe(const link_map& map, MODULEENTRY32& module) {
    // The one lookup of the C library that neither locks nor allocates. A module's dynamic section lies in it.
    dl_find_object object;
    if (_dl_find_object(map.l_ld, &object) != 0) return false;
    const auto begin = reinterpret_cast<std::uintptr_t>(object.dlfo_map_start) & ~(page_size - 1);
    const auto end = reinterpret_cast<std::uintptr_t>(object.dlfo_map_end);
    module = {};
    module.dwSize = sizeof(module);
    module.th32ProcessID = static_cast<DWORD>(getpid());
    module.modBaseAddr = reinterpret_cast<BYTE*>(begin);
    module.modBaseSize = static_cast<DWORD>(end - begin);
    module.hModule = module.modBaseAddr;
    read_module_path(map, module.szExePath);
    const std::string_view name = file_name(module.szExePath);
    std::memcpy(module.szModule, name.data(), std::min(name.size(), sizeof(module.szModule) - 1));
    return true;
}

}  // namespace

namespace win32_detail {

HANDLE module_walk_handle() {
    return reinterpret_cast<HANDLE>(std::uintptr_t{0x700151});
}

}  // namespace win32_detail

HANDLE CreateToolhelp32Snapshot(DWORD what, DWORD process) {
    if (what != TH32CS_SNAPMODULE || (process != 0 && process != static_cast<DWORD>(getpid()))) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return INVALID_HANDLE_VALUE;
    }
    t_next_module = nullptr;
    return win32_detail::module_walk_handle();
}

BOOL Module32First(HANDLE snapshot, MODULEENTRY32* module) {
    t_next_module = _r_debug.r_map;
    return Module32Next(snapshot, module);
}

BOOL Module32Next(HANDLE snapshot, MODULEENTRY32* module) {
    if (snapshot != win32_detail::module_walk_handle()) return fail(ERROR_INVALID_HANDLE);
    if (module->dwSize != sizeof(*module)) return fail(ERROR_INSUFFICIENT_BUFFER);
    link_map map;
    while (t_next_module != nullptr &&
           system_detail::copy_readable(&map, t_next_module, sizeof(map)) == sizeof(map)) {
        t_next_module = map.l_next;
        if (describe(map, *module)) return TRUE;
    }
    return fail(ERROR_NO_MORE_FILES);
}
