#include "system/posix/executable_path.h"
#include "system/posix/safe_memory.h"

#include <system/stack_walk.h>

#include <dlfcn.h>
#include <link.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <string_view>

namespace {

constexpr std::uintptr_t page_size = 4096;

// The loader may unload another module at this moment, and its name with it: the name is read as memory that
// may go.
void read_module_path(const link_map& map, char (&path)[MAX_PATH]) {
    const std::size_t length = system_detail::copy_readable(path, map.l_name, sizeof(path) - 1);
    path[length] = '\0';
    if (path[0] == '\0') system_detail::read_executable_path(path, sizeof(path));  // the main program's name
}

std::string_view file_name(std::string_view path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string_view::npos ? path : path.substr(slash + 1);
}

}  // namespace

namespace system_detail {

std::size_t read_executable_path(char* path, std::size_t capacity) {
    const ssize_t length = readlink("/proc/self/exe", path, capacity - 1);
    const auto end = static_cast<std::size_t>(std::max<ssize_t>(length, 0));
    path[end] = '\0';
    return end;
}

}  // namespace system_detail

ULONG_PTR frame_pointer(const CONTEXT& context) {
    return context.Rbp;
}

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
