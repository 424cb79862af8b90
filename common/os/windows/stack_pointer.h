#pragma once

#include <cstdint>

namespace corrivane {

/// About where the calling function's frame lies on the thread's stack. Not by GCC's own question for that: a function
/// that asks it and takes memory from its stack gets a frame on 64 bits that cannot be unwound.
inline std::uintptr_t stack_pointer() {
    volatile char here;
    return reinterpret_cast<std::uintptr_t>(&here);
}

}  // namespace corrivane
