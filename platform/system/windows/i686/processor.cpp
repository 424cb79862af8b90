#include "system/windows/processor.h"

#include <cstring>

namespace system_detail {

void* instruction_pointer(const CONTEXT& context) {
    return reinterpret_cast<void*>(context.Eip);
}

// Where FXSAVE puts it.
DWORD sse_state(const CONTEXT& context) {
    constexpr int offset = 24;
    DWORD state = 0;
    std::memcpy(&state, context.ExtendedRegisters + offset, sizeof state);
    return state;
}

}  // namespace system_detail
