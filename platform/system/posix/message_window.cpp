#include "system/posix/thread_messages.h"

#include <system/message_window.h>

#include <algorithm>

namespace system_detail {

bool ThreadMessages::owns(HWND window) const {
    return std::ranges::find(windows, window, &std::unique_ptr<MessageWindow>::get) != windows.end();
}

ThreadMessages& thread_messages() {
    thread_local ThreadMessages messages;
    return messages;
}

}  // namespace system_detail

HWND create_message_window(WNDPROC procedure) {
    auto& windows = system_detail::thread_messages().windows;
    return windows.emplace_back(new MessageWindow{procedure}).get();
}

void destroy_message_window(HWND window) {
    auto& [windows, queue] = system_detail::thread_messages();
    std::erase_if(queue, [&](const MSG& message) { return message.hwnd == window; });
    std::erase_if(windows, [&](const auto& own) { return own.get() == window; });
}
