// What a context says, by processor.
#pragma once

#include <windows.h>

namespace system_detail {

// Where the thread stood.
void* instruction_pointer(const CONTEXT& context);

// SSE's control and status register.
DWORD sse_state(const CONTEXT& context);

}  // namespace system_detail
