// What tests of faults need of the machine.
#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdlib>
#include <string>

// What a fault would end the process with elsewhere.
inline constexpr int SIGBUS = 0;
inline constexpr int SIGTRAP = 0;

namespace corrivane::test {

#ifdef _WIN64
inline void set_frame_pointer(CONTEXT& /*context*/, const void* /*frame*/) {}

inline ULONG_PTR instruction_pointer(const CONTEXT& context) {
    return context.Rip;
}
#else
inline void set_frame_pointer(CONTEXT& context, const void* frame) {
    context.Ebp = reinterpret_cast<ULONG_PTR>(frame);
}

inline ULONG_PTR instruction_pointer(const CONTEXT& context) {
    return context.Eip;
}
#endif

inline char* half_readable_memory(std::size_t bytes) {
    auto* memory =
        static_cast<char*>(VirtualAlloc(nullptr, 2 * bytes, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
    DWORD before = 0;
    VirtualProtect(memory + bytes, bytes, PAGE_NOACCESS, &before);
    return memory;
}

inline void* read_only_memory(std::size_t bytes) {
    return VirtualAlloc(nullptr, bytes, MEM_RESERVE | MEM_COMMIT, PAGE_READONLY);
}

inline std::string executable_path() {
    return _pgmptr;
}

}  // namespace corrivane::test
