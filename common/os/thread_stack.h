#pragma once

#include <cstddef>
#include <cstdint>

namespace corrivane {

struct ThreadStack {
    std::uintptr_t lowest = 0;  ///< address; 0 when the system does not say
    std::size_t bytes = 0;
};

/// The calling thread's stack, as far as it may grow.
ThreadStack thread_stack();

}  // namespace corrivane
