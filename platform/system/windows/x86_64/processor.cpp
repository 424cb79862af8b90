#include "system/windows/processor.h"

namespace system_detail {

void* instruction_pointer(const CONTEXT& context) {
    return reinterpret_cast<void*>(context.Rip);
}

DWORD sse_state(const CONTEXT& context) {
    return context.MxCsr;
}

DWORD x87_state(const CONTEXT& context) {
    constexpr DWORD exceptions = 0x3F;
    return (context.FltSave.StatusWord & exceptions) | (context.FltSave.ControlWord & exceptions) << 7;
}

}  // namespace system_detail
