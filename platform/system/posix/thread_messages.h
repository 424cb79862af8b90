#pragma once

#include <windows.h>

#include <deque>
#include <memory>
#include <vector>

struct MessageWindow {
    WNDPROC procedure;
};

namespace system_detail {

// The windows of one thread and the messages that wait for them, the oldest first.
struct ThreadMessages {
    std::vector<std::unique_ptr<MessageWindow>> windows;
    std::deque<MSG> queue;

    bool owns(HWND window) const;
};

// The calling thread's.
ThreadMessages& thread_messages();

}  // namespace system_detail
