// What the ways to stand between a call and its faults have in common.
#pragma once

#include <system/guarded_call.h>

namespace system_detail {

// One guarded call, on its stack.
struct Guard {
    SehFilter filter;
    void* owner;
    DWORD taken = ERROR_SUCCESS;  // the code that the filter took
};

// Runs call(argument) with `guard` behind it. False when `decide` took a fault: then the call ended where it stood,
// without destructors. C++ exceptions pass.
bool call_behind_guard(void (*call)(void*), void* argument, Guard& guard);

// The filter as the system calls it, on top of the faulting frames: EXCEPTION_EXECUTE_HANDLER or
// EXCEPTION_CONTINUE_SEARCH.
int decide(Guard& guard, const EXCEPTION_POINTERS& information);

// The code under which filters see what the system reports. 32-bit Windows has one code for all faults of SSE and says
// in the control register which it was.
DWORD exception_code(const EXCEPTION_POINTERS& information);

}  // namespace system_detail
