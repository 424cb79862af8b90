// A record in the thread's list of exception handlers, which lies on the stack and begins at fs:0.
#include "system/windows/guard.h"

#include <excpt.h>

namespace system_detail {

namespace {

struct Registration {
    // As the system reads it.
    DWORD previous;
    EXCEPTION_DISPOSITION (*handler)(EXCEPTION_RECORD*, void*, CONTEXT*, void*);

    Guard* guard;
    void* way_back[5];  // of __builtin_setjmp: the C library's longjmp would walk the handlers itself
};

EXCEPTION_DISPOSITION on_exception(EXCEPTION_RECORD* record, void* frame, CONTEXT* context,
                                   void* /*dispatcher*/) {
    constexpr DWORD unwinding = 2 | 4;
    if ((record->ExceptionFlags & unwinding) != 0) return ExceptionContinueSearch;
    // The system's unwinding keeps no registers, so this has to be in memory.
    auto* const volatile registration = static_cast<Registration*>(frame);
    if (decide(*registration->guard, {record, context}) != EXCEPTION_EXECUTE_HANDLER)
        return ExceptionContinueSearch;
    RtlUnwind(frame, nullptr, record, nullptr);
    asm volatile("" ::: "ebx", "esi", "edi", "memory");
    __builtin_longjmp(registration->way_back, 1);
}

}  // namespace

// A function of its own, without variables that change: only such survive the jump back.
[[gnu::noinline]] bool call_behind_guard(void (*call)(void*), void* argument, Guard& guard) {
    Registration registration{__readfsdword(0), on_exception, &guard, {}};
    if (__builtin_setjmp(registration.way_back) != 0) {
        __writefsdword(0, registration.previous);
        return false;
    }
    __writefsdword(0, reinterpret_cast<DWORD>(&registration));
    try {
        call(argument);
    } catch (...) {
        // C++ exceptions know nothing of the list.
        __writefsdword(0, registration.previous);
        throw;
    }
    __writefsdword(0, registration.previous);
    return true;
}

}  // namespace system_detail
