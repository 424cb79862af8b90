#include "maxscript/machine/thread_state.h"

#include "maxscript/machine/listener.h"
#include "os/thread_stack.h"

#include <stack_pointer.h>

#include <algorithm>
#include <memory>
#include <mutex>

namespace corrivane::host {

namespace {

// What functions that do not check, the collector's and the C library's among them, may need.
constexpr std::uintptr_t stack_reserve = std::uintptr_t{384} << 10;
// Where the stack has no limit, this much of it is used.
constexpr std::uintptr_t most_stack = std::uintptr_t{256} << 20;

/// The states of all threads that have one.
struct Registry {
    std::mutex mutex;
    std::vector<ThreadState*> states;
};

Registry& registry() {
    static auto* const instance = new Registry;
    return *instance;
}

void measure_stack(ThreadState& state) {
    const std::uintptr_t here = stack_pointer();
    const auto [bottom, size] = thread_stack();
    state.stack_top = bottom == 0 ? here + stack_reserve : bottom + size;
    const std::uintptr_t used_at_most = here > most_stack ? here - most_stack : 0;
    // A small stack keeps at least half of itself for script.
    const std::uintptr_t reserve = std::min(stack_reserve, std::uintptr_t{size} / 2);
    state.stack_bottom = std::max(bottom, used_at_most);
    state.stack_limit = state.stack_bottom + reserve;
}

thread_local ThreadState* t_state = nullptr;

/// Owns a thread's state until the thread ends.
class StateHolder {
public:
    StateHolder() : m_state(std::make_unique<ThreadState>()) {
        measure_stack(*m_state);
        m_state->locals.current_stdout = &listener_stream();
        const std::lock_guard lock(registry().mutex);
        registry().states.push_back(m_state.get());
    }
    ~StateHolder() {
        const std::lock_guard lock(registry().mutex);
        std::erase(registry().states, m_state.get());
        TlsSetValue(thread_locals_index, nullptr);
        t_state = nullptr;
    }
    StateHolder(const StateHolder&) = delete;
    StateHolder& operator=(const StateHolder&) = delete;

    ThreadState& state() { return *m_state; }

private:
    std::unique_ptr<ThreadState> m_state;
};

ThreadState& make_thread_state() {
    thread_local StateHolder holder;
    t_state = &holder.state();
    TlsSetValue(thread_locals_index, &t_state->locals);
    return *t_state;
}

/// The frames of one thread, newest first. A fault that a guard took leaves a chain whose newest frames lie
/// in stack that has been given up and may have been written over. What cannot be a frame of this stack, and
/// a chain that would fill more than the stack, is left for the library call around it, where the chain is
/// known again.
class FrameWalk {
public:
    /// `floor` is the lowest address that the thread's stack may use.
    FrameWalk(const ThreadState& state, std::uintptr_t floor)
        : m_top(state.stack_top),
          m_floor(floor),
          m_call(state.library_call),
          m_frame(state.locals.current_locals_frame) {
        start();
    }

    [[gnu::no_sanitize_address]] void trace() {
        while (m_frame != nullptr || m_call != nullptr) {
            if (m_call != nullptr && m_frame == m_call->frame) m_call = m_call->outer;
            if (plausible()) {
                for (std::intptr_t i = 0; i < m_frame->count; ++i)
                    Collectable::gc_mark(m_frame->slots()[i]);
                m_frame = m_frame->previous;
            } else if (m_call != nullptr) {
                m_frame = m_call->frame;
                m_call = m_call->outer;
                start();
            } else {
                return;
            }
        }
    }

private:
    void start() { m_words_left = (m_top - m_floor) / sizeof(Value*); }

    /// Whether the frame lies on the stack, and with those before it fits in there.
    [[gnu::no_sanitize_address]] bool plausible() {
        const auto address = reinterpret_cast<std::uintptr_t>(m_frame);
        if (address < m_floor || address % alignof(ValueLocalsFrame) != 0) return false;
        if (address > m_top - sizeof(ValueLocalsFrame)) return false;
        const std::uintptr_t words_above = (m_top - address - sizeof(ValueLocalsFrame)) / sizeof(Value*);
        const auto slots = static_cast<std::uintptr_t>(m_frame->count);
        constexpr std::uintptr_t own_words = sizeof(ValueLocalsFrame) / sizeof(Value*);
        if (slots > words_above || slots + own_words > m_words_left) return false;
        m_words_left -= slots + own_words;
        return true;
    }

    std::uintptr_t m_top;
    std::uintptr_t m_floor;
    /// Words that frames which do not overlap can still take.
    std::uintptr_t m_words_left = 0;
    const LibraryCall* m_call;
    ValueLocalsFrame* m_frame;
};

}  // namespace

ThreadState& thread_state() {
    return t_state != nullptr ? *t_state : make_thread_state();
}

void trace_thread_roots() {
    const std::lock_guard lock(registry().mutex);
    for (const ThreadState* state : registry().states) {
        FrameWalk(*state, state == t_state ? stack_pointer() : state->stack_bottom).trace();
        Collectable::gc_mark(state->locals.current_result);
        Collectable::gc_mark(state->locals.current_stdout);
        Collectable::gc_mark(state->context.coordinate_object);
    }
}

LibraryCallScope::LibraryCallScope(ThreadState& state)
    : m_state(state),
      m_call{state.locals.current_locals_frame, state.library_call},
      m_place(state.place),
      m_context(state.context),
      m_caught(state.caught.size()) {
    state.library_call = &m_call;
}

LibraryCallScope::~LibraryCallScope() {
    m_state.library_call = m_call.outer;
    m_state.locals.current_locals_frame = m_call.frame;
    m_state.place = m_place;
    m_state.context = m_context;
    m_state.caught.resize(m_caught);
}

}  // namespace corrivane::host

DWORD thread_locals_index = TlsAlloc();

void init_thread_locals() {
    if (thread_locals_index == TLS_OUT_OF_INDEXES) {
        SetLastError(ERROR_NO_MORE_ITEMS);
        return;
    }
    TlsSetValue(thread_locals_index, &corrivane::host::thread_state().locals);
    SetLastError(ERROR_SUCCESS);
}
