#include "maxscript/machine/stack_check.h"

#include "maxscript/machine/errors.h"

#include <stack_pointer.h>

namespace corrivane::host {

void check_stack(const ThreadState& state) {
    if (stack_pointer() < state.stack_limit)
        raise_runtime_error("stack overflow: calls are nested too deeply");
}

}  // namespace corrivane::host
