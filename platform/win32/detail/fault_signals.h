// The process's handlers for fault signals, in place while some thread runs a guarded call.
#pragma once

#include <ucontext.h>

#include <csignal>
#include <cstddef>

namespace win32_detail {

// Called on the faulting thread, on the signal stack if it has one. Returning means that nobody takes the
// fault.
using FaultHandler = void (*)(int signal, const siginfo_t& information, const ucontext_t& machine);

// For its lifetime the fault signals reach `handler`, and the calling thread has a signal stack: this
// object's own memory, so that a thread that ends needs no tidying. What ruled before rules again afterwards,
// unless another program part has put its own handlers in the meantime. One object a thread at a time; all
// threads name the same handler.
class FaultSignals {
public:
    explicit FaultSignals(FaultHandler handler);
    ~FaultSignals();

    FaultSignals(const FaultSignals&) = delete;
    FaultSignals& operator=(const FaultSignals&) = delete;

private:
    // A filter with a report, and a second fault on top of it, use about 30 KiB under a sanitizer, 10 KiB
    // without.
    alignas(16) std::byte m_stack[64 * 1024];
    stack_t m_previous_stack{};
    bool m_has_stack = false;
};

}  // namespace win32_detail
