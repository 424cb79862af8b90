#pragma once

#include <cstdint>

namespace corrivane {

/// About where the calling function's frame lies on the thread's stack.
inline std::uintptr_t stack_pointer() {
    return reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
}

}  // namespace corrivane
