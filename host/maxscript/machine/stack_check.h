#pragma once

#include "maxscript/machine/thread_state.h"

namespace corrivane::host {

/// Throws the MAXScript error "stack overflow" when little of the native stack is left.
void check_stack(const ThreadState& state);

}  // namespace corrivane::host
