#include "os/thread_stack.h"

#include <windows.h>

namespace corrivane {

ThreadStack thread_stack() {
    // The stack is one reservation; the thread's block knows its highest address.
    MEMORY_BASIC_INFORMATION here{};
    VirtualQuery(&here, &here, sizeof here);
    const auto lowest = reinterpret_cast<std::uintptr_t>(here.AllocationBase);
    const auto* thread = reinterpret_cast<const NT_TIB*>(NtCurrentTeb());
    return {lowest, reinterpret_cast<std::uintptr_t>(thread->StackBase) - lowest};
}

}  // namespace corrivane
