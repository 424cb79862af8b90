#include "system/cpp_exceptions.h"
#include "system/float_control.h"
#include "system/windows/guard.h"
#include "system/windows/processor.h"

#include <malloc.h>

namespace system_detail {

namespace {

// A thread's own values come from the system: a variable of the compiler's may allocate when it is first used on a
// thread, inside the filter of a fault in the allocator.
const DWORD running_filter_slot = TlsAlloc();
const DWORD prepared_slot = TlsAlloc();

// A filter that runs, on the stack. While it does, it and the guards that refused before it are not asked: the system
// would ask them about the filter's own fault, which is for the guards outside.
struct RunningFilter {
    const Guard* of;
    const RunningFilter* outer;
};

const RunningFilter* running_filter() {
    return static_cast<const RunningFilter*>(TlsGetValue(running_filter_slot));
}

void set_running_filter(const RunningFilter* filter) {
    TlsSetValue(running_filter_slot, const_cast<RunningFilter*>(filter));
}

// The stack grows downward: what is older than the filter and no older than its guard has had its say.
bool is_bypassed(const Guard& guard) {
    const auto address = reinterpret_cast<ULONG_PTR>(&guard);
    for (const RunningFilter* filter = running_filter(); filter != nullptr; filter = filter->outer)
        if (reinterpret_cast<ULONG_PTR>(filter) < address &&
            address <= reinterpret_cast<ULONG_PTR>(filter->of))
            return true;
    return false;
}

// C++ exceptions of either compiler; they are caught as such.
bool is_cpp_exception(DWORD code) {
    constexpr DWORD of_gcc = 0x20474343;
    constexpr DWORD kinds_of_gcc = 0x03000000;
    return code == CPP_EXCEPTION_CODE || (code & ~kinds_of_gcc) == of_gcc;
}

bool filter_takes(Guard& guard, DWORD code, EXCEPTION_POINTERS& information) {
    const RunningFilter running{&guard, running_filter()};
    set_running_filter(&running);
    const bool takes = guard.filter(code, &information, guard.owner) == EXCEPTION_EXECUTE_HANDLER;
    set_running_filter(running.outer);
    if (takes) guard.taken = code;
    return takes;
}

[[gnu::noinline]] bool cpp_exception_is_taken(Guard& guard) {
    CONTEXT context{};
    RtlCaptureContext(&context);
    EXCEPTION_RECORD record{};
    record.ExceptionCode = CPP_EXCEPTION_CODE;
    record.ExceptionFlags = EXCEPTION_NONCONTINUABLE;
    record.ExceptionAddress = instruction_pointer(context);
    EXCEPTION_POINTERS pointers{&record, &context};
    return filter_takes(guard, CPP_EXCEPTION_CODE, pointers);
}

// For filters, when the rest of the thread's stack has run out.
constexpr ULONG kept_room = 64 * 1024;

// Windows commits a stack page by page and keeps the room at its end by itself. Where all of it is committed from the
// start, as Wine does, the only page that would be noticed is the last one: here is one more, before the room. Where it
// is not, this fails, and is not needed.
void watch_end_of_stack() {
    MEMORY_BASIC_INFORMATION stack{};
    VirtualQuery(&stack, &stack, sizeof stack);
    DWORD before = 0;
    VirtualProtect(static_cast<char*>(stack.AllocationBase) + kept_room, 1, PAGE_READWRITE | PAGE_GUARD,
                   &before);
}

void prepare_thread() {
    if (TlsGetValue(prepared_slot) != nullptr) return;
    ULONG room = kept_room;
    SetThreadStackGuarantee(&room);
    watch_end_of_stack();
    static char is_prepared;
    TlsSetValue(prepared_slot, &is_prepared);
}

// What the guarded call may change on the thread and has to give back.
class ThreadState {
public:
    ThreadState() : m_exceptions(cpp_exceptions()), m_filter(running_filter()) {}

    void restore(DWORD taken) const {
        if (taken == EXCEPTION_STACK_OVERFLOW) {
            _resetstkoflw();
            watch_end_of_stack();
        }
        set_running_filter(m_filter);
        cpp_exceptions() = m_exceptions;
        m_float_control.restore();
    }

private:
    const FloatControl m_float_control;
    const CppExceptions m_exceptions;
    const RunningFilter* m_filter;
};

}  // namespace

int decide(Guard& guard, const EXCEPTION_POINTERS& information) {
    if (is_cpp_exception(information.ExceptionRecord->ExceptionCode) || is_bypassed(guard))
        return EXCEPTION_CONTINUE_SEARCH;
    EXCEPTION_RECORD record = *information.ExceptionRecord;
    record.ExceptionCode = exception_code(information);
    EXCEPTION_POINTERS named{&record, information.ContextRecord};
    return filter_takes(guard, record.ExceptionCode, named) ? EXCEPTION_EXECUTE_HANDLER
                                                            : EXCEPTION_CONTINUE_SEARCH;
}

}  // namespace system_detail

DWORD seh_guarded_call(void (*call)(void*), void* argument, SehFilter filter, void* owner) {
    using namespace system_detail;
    prepare_thread();
    Guard guard{filter, owner};
    const ThreadState before;
    try {
        if (!call_behind_guard(call, argument, guard)) before.restore(guard.taken);
        return guard.taken;
    } catch (...) {
        if (cpp_exception_is_taken(guard)) return guard.taken;
        throw;
    }
}
