#include "system/windows/processor.h"

namespace system_detail {

void* instruction_pointer(const CONTEXT& context) {
    return reinterpret_cast<void*>(context.Rip);
}

DWORD sse_state(const CONTEXT& context) {
    return context.MxCsr;
}

}  // namespace system_detail
