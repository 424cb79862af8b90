// Code that really faults, each with what becomes of it, and a guard that notes what its filter sees.
#pragma once

#include <system/guarded_call.h>
#include <tlhelp32.h>

#include <string_view>
#include <vector>

struct Provocation {
    std::string_view name;
    DWORD code;  // what Windows would call it
    int signal;  // what Linux kills for
    void (*call)();
    // For access violations and the like: what the record's parameters say, if they are the same each time.
    std::vector<ULONG_PTR> parameters = {};
};

// All of them save the stack overflows, which take a while.
const std::vector<Provocation>& provocations();
const std::vector<Provocation>& stack_overflows();
const Provocation& provocation(std::string_view name);

void read_address_16();
void write_address_32();

// What a filter asks about a fault: the module that holds an address, and whether the walk goes on behind the fault.
bool find_module(const void* address, MODULEENTRY32& module);
bool walk_goes_on(const EXCEPTION_POINTERS& information);

// What a filter saw, and what it is to decide.
struct Watch {
    int decision = EXCEPTION_EXECUTE_HANDLER;
    int runs = 0;
    DWORD code = 0;
    bool walk_goes_on = false;
    EXCEPTION_RECORD record{};
    CONTEXT context{};
};

inline int watch(DWORD code, EXCEPTION_POINTERS* information, void* owner) {
    auto& seen = *static_cast<Watch*>(owner);
    ++seen.runs;
    seen.code = code;
    seen.walk_goes_on = walk_goes_on(*information);
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
