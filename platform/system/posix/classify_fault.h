// From a signal to the structured exception that Windows would have raised.
#pragma once

#include <windows.h>

#include <ucontext.h>

#include <csignal>
#include <cstdint>

namespace system_detail {

struct Fault {
    EXCEPTION_RECORD record{};
    CONTEXT context{};
};

// `stack_low` is the lowest address of the faulting thread's stack, or 0. Filter-safe.
Fault classify_fault(int signal, const siginfo_t& information, const ucontext_t& machine,
                     std::uintptr_t stack_low);

// The signal that a process dies by when no guard takes the exception.
int signal_of_exception(DWORD code);

}  // namespace system_detail
