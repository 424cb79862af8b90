#pragma once

#include <cstdint>

namespace corrivane::test {

/// Reads or writes memory that is not there. In assembly, so that neither the compiler nor a sanitizer has a
/// say.
inline void read_address(std::uintptr_t address) {
    asm volatile("movl (%0), %%eax" ::"r"(address) : "eax", "memory");
}

inline void write_address(std::uintptr_t address) {
    asm volatile("movl $1, (%0)" ::"r"(address) : "memory");
}

}  // namespace corrivane::test
