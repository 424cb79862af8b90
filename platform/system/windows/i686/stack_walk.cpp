#include "system/frame_chain.h"

#include <utility>

bool StackWalk::next(StackFrame& frame) {
    if (!std::exchange(m_told_fault, true)) {
        frame = {m_fault, false, {}};
        return true;
    }
    ULONG_PTR frame_pointer = m_context.Ebp;
    const auto copy_readable = [](void* to, const void* from, std::size_t count) {
        // All or nothing on some systems, so that a part is asked for word by word.
        SIZE_T done = 0;
        if (ReadProcessMemory(GetCurrentProcess(), from, to, count, &done)) return std::size_t{count};
        constexpr std::size_t word = sizeof(ULONG_PTR);
        for (done = 0; done < count; done += word)
            if (!ReadProcessMemory(GetCurrentProcess(), static_cast<const char*>(from) + done,
                                   static_cast<char*>(to) + done, word, nullptr))
                break;
        return std::size_t{done};
    };
    const bool found = system_detail::follow_frame_chain(frame_pointer, frame, copy_readable);
    m_context.Ebp = frame_pointer;
    return found;
}
