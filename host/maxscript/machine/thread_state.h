#pragma once

#include "maxscript/machine/script_context.h"
#include "maxscript/machine/script_place.h"
#include "maxscript/machine/steps.h"

#include <max/maxscript/thread_locals.h>

#include <cstddef>
#include <cstdint>
#include <exception>
#include <string>
#include <vector>

namespace corrivane::host {

/// An error that a `catch` is handling.
struct CaughtError {
    std::exception_ptr error;
    std::string description;
};

/// A call that leaves the evaluator for code of a library. A structured-exception guard in that code may
/// abandon the evaluator's frames below it without unwinding them; what is remembered here outlives that.
struct LibraryCall {
    ValueLocalsFrame* frame;
    LibraryCall* outer;
};

/// All that the runtime keeps for one thread.
struct ThreadState {
    MAXScriptThreadLocals locals;
    ScriptPlace place;
    ScriptContext context;
    std::vector<CaughtError> caught;
    LibraryCall* library_call = nullptr;
    /// Native stack below this address is kept for code that does not check.
    std::uintptr_t stack_limit = 0;
    std::uintptr_t stack_bottom = 0;
    std::uintptr_t stack_top = 0;
};

/// The calling thread's state, made at the first call.
ThreadState& thread_state();

/// Marks what the local-value frames and current results of all threads refer to.
void trace_thread_roots();

/// Around a call into a library: puts the thread's state back even where the frames between were abandoned.
class LibraryCallScope {
public:
    explicit LibraryCallScope(ThreadState& state);
    ~LibraryCallScope();
    LibraryCallScope(const LibraryCallScope&) = delete;
    LibraryCallScope& operator=(const LibraryCallScope&) = delete;

private:
    ThreadState& m_state;
    LibraryCall m_call;
    ScriptPlace m_place;
    ScriptContext m_context;
    std::size_t m_caught;
    ScriptRuns m_runs{false};
};

/// Puts what contexts have set back at the end of the scope.
class ContextScope {
public:
    explicit ContextScope(ThreadState& state) : m_state(state), m_context(state.context) {}
    ~ContextScope() { m_state.context = m_context; }
    ContextScope(const ContextScope&) = delete;
    ContextScope& operator=(const ContextScope&) = delete;

private:
    ThreadState& m_state;
    ScriptContext m_context;
};

/// Puts the place of the script that was running back at the end of the scope.
class PlaceScope {
public:
    explicit PlaceScope(ThreadState& state) : m_state(state), m_place(state.place) {}
    ~PlaceScope() { m_state.place = m_place; }
    PlaceScope(const PlaceScope&) = delete;
    PlaceScope& operator=(const PlaceScope&) = delete;

private:
    ThreadState& m_state;
    ScriptPlace m_place;
};

/// Links a local-value frame into the chain for the lifetime of this object. The slots are set to null first.
class FrameLink {
public:
    FrameLink(ThreadState& state, ValueLocalsFrame* frame, std::size_t slots)
        : m_state(state), m_frame(frame) {
        frame->count = static_cast<std::intptr_t>(slots);
        frame->previous = state.locals.current_locals_frame;
        for (std::size_t i = 0; i < slots; ++i)
            frame->slots()[i] = nullptr;
        state.locals.current_locals_frame = frame;
    }
    ~FrameLink() { m_state.locals.current_locals_frame = m_frame->previous; }
    FrameLink(const FrameLink&) = delete;
    FrameLink& operator=(const FrameLink&) = delete;

private:
    ThreadState& m_state;
    ValueLocalsFrame* m_frame;
};

}  // namespace corrivane::host
