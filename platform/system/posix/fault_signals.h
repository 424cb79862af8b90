// The process's handlers for fault signals, and the stacks they run on.
#pragma once

#include <ucontext.h>

#include <csignal>

namespace system_detail {

// Called on the faulting thread, on the signal stack if it has one. Returning means that nobody takes
// the fault.
using FaultHandler = void (*)(int signal, const siginfo_t& information, const ucontext_t& machine);

// For its lifetime the fault signals reach `handler`, and the calling thread has a signal stack, which it
// keeps to its end. One object a thread at a time; all threads name the same handler.
//
// What ruled a signal before rules it again afterwards, unless another program part has put its own handler
// in the meantime. Where nothing ruled, the process's handler stays, since each change costs a system call;
// outside guards it gives a signal its default effect.
class FaultSignals {
public:
    explicit FaultSignals(FaultHandler handler);
    ~FaultSignals();

    FaultSignals(const FaultSignals&) = delete;
    FaultSignals& operator=(const FaultSignals&) = delete;
};

}  // namespace system_detail
