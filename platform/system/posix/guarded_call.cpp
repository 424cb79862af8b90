#include "system/cpp_exceptions.h"
#include "system/float_control.h"
#include "system/posix/allocator_check.h"
#include "system/posix/classify_fault.h"
#include "system/posix/fault_signals.h"
#include "system/posix/guard_chain.h"
#include "system/posix/utc_offset.h"

#include <system/guarded_call.h>

#include <cxxabi.h>
#include <pthread.h>

#include <csetjmp>
#include <csignal>
#include <cstdint>

namespace {

class Guard;

// Handlers read these. With the dynamic model the first access on a thread allocates, which hangs a thread
// that faulted inside the allocator.
[[gnu::tls_model("initial-exec")]] thread_local Guard* t_innermost = nullptr;
[[gnu::tls_model("initial-exec")]] thread_local int t_filter_depth = 0;
[[gnu::tls_model("initial-exec")]] thread_local std::uintptr_t t_stack_low = 0;

using system_detail::cpp_exceptions;
using system_detail::CppExceptions;
using system_detail::FloatControl;

// One guarded call: a link of the thread's chain, from the innermost outward, and the way back to the guard.
class Guard {
public:
    Guard(SehFilter filter, void* owner)
        : m_outer(t_innermost),
          m_filter(filter),
          m_owner(owner),
          m_filter_depth(t_filter_depth),
          m_exceptions(cpp_exceptions()) {
        t_innermost = this;
    }

    ~Guard() { t_innermost = m_outer; }

    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;

    Guard* outer() const { return m_outer; }
    sigjmp_buf& way_back() { return m_way_back; }

    // Meanwhile only the guards outside are there, so a fault in the filter is theirs.
    bool filter_takes(EXCEPTION_POINTERS& information) noexcept {
        t_innermost = m_outer;
        ++t_filter_depth;
        const int decision = m_filter(information.ExceptionRecord->ExceptionCode, &information, m_owner);
        --t_filter_depth;
        return decision == EXCEPTION_EXECUTE_HANDLER;
    }

    [[noreturn]] void resume(DWORD code) {
        m_taken = code;
        siglongjmp(m_way_back, 1);
    }

    // Undoes what the abandoned call left behind on the thread; returns the code that was taken.
    DWORD tidy_up() {
        // A fault in this check is the next guard's: this one's call is over.
        system_detail::end_process_if_allocator_is_stuck(system_detail::signal_of_exception(m_taken));
        t_innermost = this;
        t_filter_depth = m_filter_depth;
        cpp_exceptions() = m_exceptions;
        m_float_control.restore();
        return m_taken;
    }

private:
    Guard* const m_outer;
    const SehFilter m_filter;
    void* const m_owner;
    const int m_filter_depth;
    const CppExceptions m_exceptions;
    const FloatControl m_float_control;
    sigjmp_buf m_way_back;
    DWORD m_taken = ERROR_SUCCESS;
};

void on_fault(int signal, const siginfo_t& information, const ucontext_t& machine) {
    if (t_innermost == nullptr) return;
    system_detail::Fault fault = system_detail::classify_fault(signal, information, machine, t_stack_low);
    EXCEPTION_POINTERS pointers{&fault.record, &fault.context};
    system_detail::offer_to_guards(pointers);
}

[[gnu::noinline]] bool cpp_exception_is_taken(Guard& guard) {
    CONTEXT context = system_detail::caller_context();
    EXCEPTION_RECORD record{};
    record.ExceptionCode = CPP_EXCEPTION_CODE;
    record.ExceptionFlags = EXCEPTION_NONCONTINUABLE;
    record.ExceptionAddress = reinterpret_cast<PVOID>(context.Rip);
    EXCEPTION_POINTERS pointers{&record, &context};
    return guard.filter_takes(pointers);
}

// A function of its own, without variables that change: only such survive the jump back.
[[gnu::noinline]] DWORD call_or_come_back(Guard& guard, void (*call)(void*), void* argument) {
    if (sigsetjmp(guard.way_back(), 1) != 0) return guard.tidy_up();
    call(argument);
    return ERROR_SUCCESS;
}

// The end of a thread is caught as an exception that has no object, to which the sanitizer's null
// check objects.
__attribute__((no_sanitize("null"))) DWORD run_guarded(void (*call)(void*), void* argument, SehFilter filter,
                                                       void* owner) {
    Guard guard(filter, owner);
    try {
        return call_or_come_back(guard, call, argument);
    } catch (abi::__forced_unwind&) {
        throw;
    } catch (...) {
        if (cpp_exception_is_taken(guard)) return CPP_EXCEPTION_CODE;
        throw;
    }
}

// Lowest address of the calling thread's stack, or 0. Slow on the main thread, whose bounds are read from
// a file.
std::uintptr_t find_stack_low() {
    pthread_attr_t attributes;
    if (pthread_getattr_np(pthread_self(), &attributes) != 0) return 0;
    void* low = nullptr;
    std::size_t size = 0;
    pthread_attr_getstack(&attributes, &low, &size);
    pthread_attr_destroy(&attributes);
    return reinterpret_cast<std::uintptr_t>(low);
}

[[gnu::noinline]] DWORD run_outermost(void (*call)(void*), void* argument, SehFilter filter, void* owner) {
    if (t_stack_low == 0) t_stack_low = find_stack_low();
    system_detail::remember_utc_offset();
    const system_detail::FaultSignals signals(on_fault);
    return run_guarded(call, argument, filter, owner);
}

}  // namespace

namespace system_detail {

bool in_filter() {
    return t_filter_depth > 0;
}

void offer_to_guards(EXCEPTION_POINTERS& information) {
    Guard* const innermost = t_innermost;
    for (Guard* guard = innermost; guard != nullptr; guard = guard->outer())
        if (guard->filter_takes(information)) guard->resume(information.ExceptionRecord->ExceptionCode);
    t_innermost = innermost;
}

}  // namespace system_detail

DWORD seh_guarded_call(void (*call)(void*), void* argument, SehFilter filter, void* owner) {
    // A filter of the outermost guard has no guard around it, but the handlers and the signal stack are
    // in place.
    const bool is_prepared = t_innermost != nullptr || t_filter_depth > 0;
    return is_prepared ? run_guarded(call, argument, filter, owner)
                       : run_outermost(call, argument, filter, owner);
}
