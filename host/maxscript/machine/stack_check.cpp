#include "maxscript/machine/stack_check.h"

#include "maxscript/machine/errors.h"

namespace corrivane::host {

void check_stack(const ThreadState& state) {
    if (reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0)) < state.stack_limit)
        raise_runtime_error("stack overflow: calls are nested too deeply");
}

}  // namespace corrivane::host
