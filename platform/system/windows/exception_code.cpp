#include "system/windows/guard.h"
#include "system/windows/processor.h"

#include <utility>

namespace system_detail {

namespace {

// What 32-bit Windows calls every fault of SSE.
constexpr DWORD multiple_faults = 0xC00002B4;
constexpr DWORD multiple_traps = 0xC00002B5;

constexpr DWORD mask_shift = 7;
constexpr std::pair<DWORD, DWORD> float_faults[] = {
    {1, EXCEPTION_FLT_INVALID_OPERATION}, {2, EXCEPTION_FLT_DENORMAL_OPERAND},
    {4, EXCEPTION_FLT_DIVIDE_BY_ZERO},    {8, EXCEPTION_FLT_OVERFLOW},
    {16, EXCEPTION_FLT_UNDERFLOW},        {32, EXCEPTION_FLT_INEXACT_RESULT},
};

// 0 when none of what happened may trap.
DWORD code_of_float_fault(DWORD state) {
    for (const auto& [flag, code] : float_faults)
        if ((state & flag) != 0 && (state & flag << mask_shift) == 0) return code;
    return 0;
}

}  // namespace

DWORD exception_code(const EXCEPTION_POINTERS& information) {
    const DWORD code = information.ExceptionRecord->ExceptionCode;
    // Some systems take a denormal operand for an underflow.
    if (code != multiple_faults && code != multiple_traps && code != EXCEPTION_FLT_UNDERFLOW) return code;
    if (const DWORD of_sse = code_of_float_fault(sse_state(*information.ContextRecord))) return of_sse;
    const DWORD of_x87 = code_of_float_fault(x87_state(*information.ContextRecord));
    return of_x87 != 0 ? of_x87 : code;
}

}  // namespace system_detail
