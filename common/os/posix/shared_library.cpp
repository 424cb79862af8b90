#include "os/shared_library.h"

#include <dlfcn.h>

#include <stdexcept>

namespace corrivane {

std::filesystem::path program_file() {
    return std::filesystem::read_symlink("/proc/self/exe");
}

void* load_library(const std::string& file) {
    void* library = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library != nullptr) return library;
    const char* reason = dlerror();
    throw std::runtime_error(reason == nullptr ? "" : reason);
}

void* library_entry(void* library, const char* name) {
    return dlsym(library, name);
}

void unload_library(void* library) {
    dlclose(library);
}

}  // namespace corrivane
