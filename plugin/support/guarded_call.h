#pragma once

#include <system/guarded_call.h>

/// Runs call() under a structured-exception guard whose filter is owner.FilterSehException. Returns 0 when
/// the call returned, the fault's code when the filter took one. Exceptions that the call throws pass
/// through unchanged.
template <typename Owner, typename Call>
DWORD guarded_call(Owner& owner, Call& call) {
    const auto run = [](void* callable) { (*static_cast<Call*>(callable))(); };
    const auto filter = [](DWORD code, EXCEPTION_POINTERS* information, void* filter_owner) {
        return static_cast<Owner*>(filter_owner)->FilterSehException(code, information);
    };
    return seh_guarded_call(run, &call, filter, &owner);
}
