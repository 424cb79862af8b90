#include "system/frame_chain.h"

#include <utility>

bool StackWalk::next(StackFrame& frame) {
    if (!std::exchange(m_told_fault, true)) {
        frame = {m_fault, false, {}};
        return true;
    }
    ULONG_PTR frame_pointer = m_context.Ebp;
    const auto copy_readable = [](void* to, const void* from, std::size_t count) {
        SIZE_T done = 0;
        ReadProcessMemory(GetCurrentProcess(), from, to, count, &done);
        return done;
    };
    const bool found = system_detail::follow_frame_chain(frame_pointer, frame, copy_readable);
    m_context.Ebp = frame_pointer;
    return found;
}
