#include "system/frame_chain.h"
#include "system/posix/safe_memory.h"

#include <utility>

bool StackWalk::next(StackFrame& frame) {
    if (!std::exchange(m_told_fault, true)) {
        frame = {m_fault, false, {}};
        return true;
    }
    ULONG_PTR frame_pointer = m_context.Rbp;
    const bool found = system_detail::follow_frame_chain(frame_pointer, frame, system_detail::copy_readable);
    m_context.Rbp = frame_pointer;
    return found;
}
