// Functions need not keep a frame pointer here: what the compiler left for unwinding leads from frame to frame.
#include <system/guarded_call.h>
#include <system/stack_walk.h>

#include <utility>

namespace {

// Turns the state of a function into that of its caller.
void unwind_one_frame(void* argument) {
    auto& context = *static_cast<CONTEXT*>(argument);
    DWORD64 image = 0;
    RUNTIME_FUNCTION* const function = RtlLookupFunctionEntry(context.Rip, &image, nullptr);
    if (function == nullptr) {
        // A function without an entry has pushed nothing, nor has one that was called where no code is.
        context.Rip = *reinterpret_cast<const DWORD64*>(context.Rsp);
        context.Rsp += sizeof(DWORD64);
        return;
    }
    void* handler_data = nullptr;
    DWORD64 frame = 0;
    RtlVirtualUnwind(UNW_FLAG_NHANDLER, image, context.Rip, function, &context, &handler_data, &frame,
                     nullptr);
}

int take(DWORD, EXCEPTION_POINTERS*, void*) {
    return EXCEPTION_EXECUTE_HANDLER;
}

}  // namespace

bool StackWalk::next(StackFrame& frame) {
    if (!std::exchange(m_told_fault, true)) {
        frame = {m_fault, false, {}};
        return true;
    }
    // The system reads the stack as if it were whole.
    const DWORD64 before = m_context.Rsp;
    if (seh_guarded_call(unwind_one_frame, &m_context, take, nullptr) != 0) return false;
    if (m_context.Rip == 0 || m_context.Rsp <= before) return false;
    frame.address = reinterpret_cast<const void*>(m_context.Rip);
    SIZE_T readable = 0;
    frame.has_arguments = ReadProcessMemory(GetCurrentProcess(), reinterpret_cast<const void*>(m_context.Rsp),
                                            frame.arguments, sizeof frame.arguments, &readable) != FALSE;
    return true;
}
