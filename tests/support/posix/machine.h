// What tests of faults need of the machine.
#pragma once

#include <windows.h>

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <string>

namespace corrivane::test {

inline void set_frame_pointer(CONTEXT& context, const void* frame) {
    context.Rbp = reinterpret_cast<ULONG_PTR>(frame);
}

inline ULONG_PTR instruction_pointer(const CONTEXT& context) {
    return context.Rip;
}

/// Memory that may be written, and right behind it as much that may not even be read.
inline char* half_readable_memory(std::size_t bytes) {
    void* mapped = mmap(nullptr, 2 * bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    mprotect(static_cast<char*>(mapped) + bytes, bytes, PROT_NONE);
    return static_cast<char*>(mapped);
}

inline void* read_only_memory(std::size_t bytes) {
    return mmap(nullptr, bytes, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
}

inline std::string executable_path() {
    char path[MAX_PATH] = "";
    return {path, static_cast<std::size_t>(readlink("/proc/self/exe", path, sizeof path))};
}

}  // namespace corrivane::test
