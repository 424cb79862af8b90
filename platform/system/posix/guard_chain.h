// The calling thread's guards, for what happens inside them.
#pragma once

#include <windows.h>

namespace system_detail {

// Whether the calling thread runs a structured-exception filter at this moment. Filter-safe.
bool in_filter();

// Asks the guards, innermost first; comes back only when none takes the exception. Filter-safe.
void offer_to_guards(EXCEPTION_POINTERS& information);

// Where the calling function stands: its frame and the place to which it returns.
[[gnu::always_inline]] inline CONTEXT caller_context() {
    const auto* frame = static_cast<const ULONG_PTR*>(__builtin_frame_address(0));
    return {reinterpret_cast<ULONG_PTR>(frame + 2), frame[0],
            reinterpret_cast<ULONG_PTR>(__builtin_return_address(0))};
}

}  // namespace system_detail
