// What a context says, by processor.
#pragma once

#include <windows.h>

namespace system_detail {

// Where the thread stood.
void* instruction_pointer(const CONTEXT& context);

// SSE's control and status register: flags that say what has happened; seven places higher, masks for what may not trap.
DWORD sse_state(const CONTEXT& context);
// The same of the x87's registers, put together so.
DWORD x87_state(const CONTEXT& context);

}  // namespace system_detail
