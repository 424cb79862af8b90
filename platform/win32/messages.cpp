#include <windows.h>

#include <message_window.h>

#include <algorithm>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <unordered_map>

struct MessageWindow {
    WNDPROC procedure;
    DWORD thread;
};

namespace {

constexpr std::size_t max_waiting_messages = 10000;  // Windows' own limit

struct MessageQueue {
    std::mutex mutex;
    std::deque<MSG> messages;
};

using QueuePointer = std::shared_ptr<MessageQueue>;

struct Registry {
    std::mutex mutex;
    std::unordered_map<DWORD, QueuePointer> queues;  // by thread
    std::unordered_map<HWND, std::unique_ptr<MessageWindow>> windows;

    QueuePointer queue_of(DWORD thread) {
        const std::lock_guard lock(mutex);
        const auto found = queues.find(thread);
        return found == queues.end() ? nullptr : found->second;
    }

    std::optional<MessageWindow> window(HWND handle) {
        const std::lock_guard lock(mutex);
        const auto found = windows.find(handle);
        return found == windows.end() ? std::nullopt : std::optional(*found->second);
    }
};

// Never destroyed: threads may still end while the process's statics go.
Registry& registry() {
    static Registry& instance = *new Registry;
    return instance;
}

// The calling thread's queue, known to the others for as long as the thread lives.
class OwnQueue {
public:
    OwnQueue() : m_thread(GetCurrentThreadId()), m_queue(std::make_shared<MessageQueue>()) {
        const std::lock_guard lock(registry().mutex);
        registry().queues[m_thread] = m_queue;
    }

    ~OwnQueue() {
        const std::lock_guard lock(registry().mutex);
        registry().queues.erase(m_thread);
    }

    OwnQueue(const OwnQueue&) = delete;
    OwnQueue& operator=(const OwnQueue&) = delete;

    MessageQueue& queue() { return *m_queue; }

private:
    const DWORD m_thread;
    const QueuePointer m_queue;
};

MessageQueue& own_queue() {
    thread_local OwnQueue own;
    return own.queue();
}

bool fits(const MSG& message, HWND window, UINT first, UINT last) {
    if (message.message == WM_QUIT) return true;
    if (window != nullptr && message.hwnd != window) return false;
    return (first == 0 && last == 0) || (message.message >= first && message.message <= last);
}

BOOL post(MessageQueue& queue, const MSG& message) {
    const std::lock_guard lock(queue.mutex);
    if (queue.messages.size() >= max_waiting_messages) {
        SetLastError(ERROR_NOT_ENOUGH_QUOTA);
        return FALSE;
    }
    queue.messages.push_back(message);
    return TRUE;
}

}  // namespace

BOOL PeekMessageA(MSG* message, HWND window, UINT first, UINT last, UINT remove) {
    MessageQueue& queue = own_queue();
    const std::lock_guard lock(queue.mutex);
    const auto found = std::find_if(queue.messages.begin(), queue.messages.end(), [&](const MSG& candidate) {
        return fits(candidate, window, first, last);
    });
    if (found == queue.messages.end()) return FALSE;
    *message = *found;
    if ((remove & PM_REMOVE) != 0) queue.messages.erase(found);
    return TRUE;
}

BOOL TranslateMessage(const MSG* /*message*/) {
    return FALSE;
}

LRESULT DispatchMessageA(const MSG* message) {
    const std::optional<MessageWindow> window = registry().window(message->hwnd);
    return window ? window->procedure(message->hwnd, message->message, message->wParam, message->lParam) : 0;
}

BOOL PostMessageA(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    const MSG posted{window, message, wParam, lParam, GetTickCount(), {}};
    if (window == nullptr) return post(own_queue(), posted);
    const std::optional<MessageWindow> target = registry().window(window);
    const QueuePointer queue = target ? registry().queue_of(target->thread) : nullptr;
    if (queue == nullptr) {
        SetLastError(ERROR_INVALID_WINDOW_HANDLE);
        return FALSE;
    }
    return post(*queue, posted);
}

BOOL PostThreadMessageA(DWORD thread, UINT message, WPARAM wParam, LPARAM lParam) {
    const QueuePointer queue = registry().queue_of(thread);
    if (queue == nullptr) {
        SetLastError(ERROR_INVALID_THREAD_ID);
        return FALSE;
    }
    return post(*queue, MSG{nullptr, message, wParam, lParam, GetTickCount(), {}});
}

HWND create_message_window(WNDPROC procedure) {
    own_queue();
    auto window = std::make_unique<MessageWindow>(MessageWindow{procedure, GetCurrentThreadId()});
    const HWND handle = window.get();
    const std::lock_guard lock(registry().mutex);
    registry().windows.emplace(handle, std::move(window));
    return handle;
}

BOOL destroy_message_window(HWND window) {
    {
        const std::lock_guard lock(registry().mutex);
        if (registry().windows.erase(window) == 0) {
            SetLastError(ERROR_INVALID_WINDOW_HANDLE);
            return FALSE;
        }
    }
    MessageQueue& queue = own_queue();
    const std::lock_guard lock(queue.mutex);
    std::erase_if(queue.messages, [&](const MSG& message) { return message.hwnd == window; });
    return TRUE;
}
