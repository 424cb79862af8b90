// The frames that led to a fault, as a crash report lists them.
#pragma once

#include <windows.h>

struct StackFrame {
    const void*
        address;  // where the frame was: of the fault, then behind each call, from the innermost outward
    // The words that follow the frame's return address on the stack; on 32 bits the first arguments of the call.
    bool has_arguments;  // not for the frame that faulted, and where the words cannot be read
    ULONG_PTR arguments[5];
};

// Walks from a fault outward. How frames are found is the system's: by the chain of frame pointers, or by what
// the compiler left for unwinding. Filter-safe.
class StackWalk {
public:
    explicit StackWalk(const EXCEPTION_POINTERS& information)
        : m_context(*information.ContextRecord), m_fault(information.ExceptionRecord->ExceptionAddress) {}

    // Describes the next frame. False when what leads to it cannot be read.
    bool next(StackFrame& frame);

private:
    CONTEXT m_context;
    const void* m_fault;
    bool m_told_fault = false;
};
