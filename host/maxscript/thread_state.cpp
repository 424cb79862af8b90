#include "maxscript/thread_state.h"

#include <pthread.h>

#include <algorithm>
#include <memory>
#include <mutex>

#include "maxscript/errors.h"
#include "maxscript/listener.h"

namespace corrivane::host {

namespace {

// What functions that do not check, the collector's and the C library's among them, may need.
constexpr std::uintptr_t stack_reserve = 384 * 1024;
// Where the stack has no limit, this much of it is used.
constexpr std::uintptr_t most_stack = std::uintptr_t{256} << 20;

std::uintptr_t stack_pointer() {
    return reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
}

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
    pthread_attr_t attributes;
    void* lowest = nullptr;
    std::size_t size = 0;
    const std::uintptr_t here = stack_pointer();
    if (pthread_getattr_np(pthread_self(), &attributes) == 0) {
        pthread_attr_getstack(&attributes, &lowest, &size);
        pthread_attr_destroy(&attributes);
    }
    const auto bottom = reinterpret_cast<std::uintptr_t>(lowest);
    state.stack_top = lowest == nullptr ? here + stack_reserve : bottom + size;
    const std::uintptr_t used_at_most = here > most_stack ? here - most_stack : 0;
    // A small stack keeps at least half of itself for script.
    const std::uintptr_t reserve = std::min(stack_reserve, static_cast<std::uintptr_t>(size) / 2);
    state.stack_limit = std::max(bottom, used_at_most) + reserve;
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

/// Marks the slots of a frame as far as they lie on the stack, below `ceiling`.
[[gnu::no_sanitize_address]] void trace_slots(ValueLocalsFrame* frame, std::uintptr_t ceiling) {
    const auto first = reinterpret_cast<std::uintptr_t>(frame->slots());
    const std::uintptr_t room = (ceiling - first) / sizeof(Value*);
    const auto count = std::min(static_cast<std::uintptr_t>(std::max<std::intptr_t>(frame->count, 0)), room);
    for (std::uintptr_t i = 0; i < count; ++i)
        Collectable::gc_mark(frame->slots()[i]);
}

/// Walks a chain of frames. A fault that a guard took leaves a chain whose newest frames lie in stack that has been
/// given up and may have been written over: what does not look like a frame of this stack, and a chain that runs in
/// circles, is left for the library call around it, where the chain is known again.
[[gnu::no_sanitize_address]] void trace_frames(const ThreadState& state, std::uintptr_t floor) {
    const LibraryCall* call = state.library_call;
    ValueLocalsFrame* frame = state.locals.current_locals_frame;
    std::uintptr_t room = (state.stack_top - floor) / sizeof(ValueLocalsFrame);
    while (frame != nullptr || call != nullptr) {
        if (call != nullptr && frame == call->frame) call = call->outer;
        const auto address = reinterpret_cast<std::uintptr_t>(frame);
        const bool plausible = address >= floor && address % alignof(ValueLocalsFrame) == 0 &&
                               address + sizeof(ValueLocalsFrame) <= state.stack_top && room != 0;
        if (plausible) {
            trace_slots(frame, state.stack_top);
            frame = frame->previous;
            --room;
        } else {
            if (call == nullptr) return;
            frame = call->frame;
            call = call->outer;
            room = (state.stack_top - floor) / sizeof(ValueLocalsFrame);
        }
    }
}

}  // namespace

ThreadState& thread_state() {
    return t_state != nullptr ? *t_state : make_thread_state();
}

void check_stack(const ThreadState& state) {
    if (stack_pointer() < state.stack_limit) raise_runtime_error("stack overflow: calls are nested too deeply");
}

void trace_thread_roots() {
    const std::lock_guard lock(registry().mutex);
    for (const ThreadState* state : registry().states) {
        trace_frames(*state, state == t_state ? stack_pointer() : 0);
        Collectable::gc_mark(state->locals.current_result);
        Collectable::gc_mark(state->locals.current_stdout);
    }
}

LibraryCallScope::LibraryCallScope(ThreadState& state)
    : m_state(state),
      m_call{state.locals.current_locals_frame, state.library_call},
      m_place(state.place),
      m_caught(state.caught.size()) {
    state.library_call = &m_call;
}

LibraryCallScope::~LibraryCallScope() {
    m_state.library_call = m_call.outer;
    m_state.locals.current_locals_frame = m_call.frame;
    m_state.place = m_place;
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
