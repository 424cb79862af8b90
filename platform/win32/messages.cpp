#include "system/posix/thread_messages.h"

#include <windows.h>

BOOL PeekMessageA(MSG* message, HWND window, UINT first, UINT last, UINT remove) {
    if (window != nullptr || first != 0 || last != 0 || remove != PM_REMOVE) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    auto& queue = system_detail::thread_messages().queue;
    if (queue.empty()) return FALSE;
    *message = queue.front();
    queue.pop_front();
    return TRUE;
}

BOOL TranslateMessage(const MSG* /*message*/) {
    return FALSE;
}

LRESULT DispatchMessageA(const MSG* message) {
    if (!system_detail::thread_messages().owns(message->hwnd)) return 0;
    return message->hwnd->procedure(message->hwnd, message->message, message->wParam, message->lParam);
}

BOOL PostMessageA(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    auto& messages = system_detail::thread_messages();
    if (!messages.owns(window)) {
        SetLastError(ERROR_INVALID_WINDOW_HANDLE);
        return FALSE;
    }
    messages.queue.push_back({window, message, wParam, lParam});
    return TRUE;
}
