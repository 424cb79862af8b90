#include "system/posix/classify_fault.h"
#include "system/posix/guard_chain.h"

#include <windows.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>

void RaiseException(DWORD code, DWORD flags, DWORD count, const ULONG_PTR* parameters) {
    CONTEXT context = system_detail::caller_context();
    EXCEPTION_RECORD record{};
    record.ExceptionCode = code;
    record.ExceptionFlags = flags;
    record.ExceptionAddress = reinterpret_cast<PVOID>(context.Rip);
    if (parameters != nullptr) {
        record.NumberParameters = std::min<DWORD>(count, EXCEPTION_MAXIMUM_PARAMETERS);
        std::copy_n(parameters, record.NumberParameters, record.ExceptionInformation);
    }
    EXCEPTION_POINTERS pointers{&record, &context};
    system_detail::offer_to_guards(pointers);
    raise(system_detail::signal_of_exception(code));  // reaches what ruled it before the guards, or kills
    std::abort();
}
