// A filter that notes what it sees, and a guard for anything callable.
#pragma once

#include <seh_guard.h>

// What a filter saw, and what it is to decide.
struct Watch {
    int decision = EXCEPTION_EXECUTE_HANDLER;
    int runs = 0;
    DWORD code = 0;
    EXCEPTION_RECORD record{};
    CONTEXT context{};
};

inline int watch(DWORD code, EXCEPTION_POINTERS* information, void* owner) {
    auto& seen = *static_cast<Watch*>(owner);
    ++seen.runs;
    seen.code = code;
    seen.record = *information->ExceptionRecord;
    seen.context = *information->ContextRecord;
    return seen.decision;
}

// Runs anything callable under a guard.
template <typename Call>
DWORD guarded(Call call, SehFilter filter, void* owner) {
    return seh_guarded_call([](void* argument) { (*static_cast<Call*>(argument))(); }, &call, filter, owner);
}

template <typename Call>
DWORD guarded(Call call, Watch& seen) {
    return guarded(call, watch, &seen);
}
