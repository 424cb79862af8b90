#include "os/shared_library.h"

#include <windows.h>

#include <stdexcept>
#include <system_error>

namespace corrivane {

std::filesystem::path program_file() {
    wchar_t name[32768];  // the longest that the system knows
    const DWORD length = GetModuleFileNameW(nullptr, name, std::size(name));
    return std::wstring(name, length);
}

void* load_library(const std::string& file) {
    // With the library's own folder in the search for what it needs, which takes a whole path.
    std::error_code ignored;
    const std::filesystem::path whole = std::filesystem::absolute(file, ignored).make_preferred();
    if (void* library = LoadLibraryExW(whole.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH)) return library;
    const DWORD error = GetLastError();
    throw std::runtime_error(std::system_category().message(static_cast<int>(error)) + " (" +
                             std::to_string(error) + ")");
}

void* library_entry(void* library, const char* name) {
    return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(library), name));
}

void unload_library(void* library) {
    FreeLibrary(static_cast<HMODULE>(library));
}

}  // namespace corrivane
