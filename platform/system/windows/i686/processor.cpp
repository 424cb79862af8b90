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

DWORD x87_state(const CONTEXT& context) {
    constexpr DWORD exceptions = 0x3F;
    return (context.FloatSave.StatusWord & exceptions) | (context.FloatSave.ControlWord & exceptions) << 7;
}

}  // namespace system_detail
