#include <windows.h>

#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <ctime>

namespace {

timespec monotonic_time() {
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now;
}

constexpr long nanoseconds_per_second = 1'000'000'000;

timespec after_milliseconds(timespec time, DWORD milliseconds) {
    time.tv_sec += milliseconds / 1000;
    time.tv_nsec += static_cast<long>(milliseconds % 1000) * 1'000'000;
    if (time.tv_nsec >= nanoseconds_per_second) {
        time.tv_nsec -= nanoseconds_per_second;
        ++time.tv_sec;
    }
    return time;
}

constexpr DWORD slot_count = 64;

std::atomic<DWORD> allocated_slots{0};

[[gnu::tls_model("initial-exec")]] thread_local std::array<LPVOID, slot_count> t_slot_values;

bool is_allocated(DWORD index) {
    if (index < allocated_slots) return true;
    SetLastError(ERROR_INVALID_PARAMETER);
    return false;
}

}  // namespace

DWORD GetTickCount() {
    const timespec now = monotonic_time();
    return static_cast<DWORD>(static_cast<std::uint64_t>(now.tv_sec) * 1000 +
                              static_cast<std::uint64_t>(now.tv_nsec / 1'000'000));
}

void Sleep(DWORD milliseconds) {
    if (milliseconds == 0) {
        sched_yield();
        return;
    }
    const timespec end = after_milliseconds(monotonic_time(), milliseconds);
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &end, nullptr) == EINTR) {
    }
}

DWORD GetCurrentThreadId() {
    return static_cast<DWORD>(gettid());
}

DWORD TlsAlloc() {
    DWORD index = allocated_slots;
    while (index < slot_count)
        if (allocated_slots.compare_exchange_weak(index, index + 1)) return index;
    SetLastError(ERROR_NO_MORE_ITEMS);
    return TLS_OUT_OF_INDEXES;
}

LPVOID TlsGetValue(DWORD index) {
    if (!is_allocated(index)) return nullptr;
    SetLastError(ERROR_SUCCESS);
    return t_slot_values[index];
}

BOOL TlsSetValue(DWORD index, LPVOID value) {
    if (!is_allocated(index)) return FALSE;
    t_slot_values[index] = value;
    return TRUE;
}
