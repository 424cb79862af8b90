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

// A slot is allocated while its number is odd. A thread's value counts only if it was stored under that same
// number, so a slot that is allocated again starts out null on every thread.
std::array<std::atomic<std::uint32_t>, TLS_MINIMUM_AVAILABLE> slot_generations;

struct SlotValue {
    LPVOID value = nullptr;
    std::uint32_t generation = 0;
};

[[gnu::tls_model("initial-exec")]] thread_local std::array<SlotValue, TLS_MINIMUM_AVAILABLE> t_slot_values;

// The generation of an allocated slot, or 0.
std::uint32_t allocated_generation(DWORD index) {
    if (index >= TLS_MINIMUM_AVAILABLE) return 0;
    const std::uint32_t generation = slot_generations[index];
    return generation % 2 == 1 ? generation : 0;
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
    do {
        while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &end, nullptr) == EINTR) {
        }
    } while (milliseconds == INFINITE);
}

DWORD GetCurrentThreadId() {
    return static_cast<DWORD>(gettid());
}

void InitializeCriticalSection(CRITICAL_SECTION* section) {
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(&section->mutex, &attributes);
    pthread_mutexattr_destroy(&attributes);
}

void EnterCriticalSection(CRITICAL_SECTION* section) {
    pthread_mutex_lock(&section->mutex);
}

void LeaveCriticalSection(CRITICAL_SECTION* section) {
    pthread_mutex_unlock(&section->mutex);
}

void DeleteCriticalSection(CRITICAL_SECTION* section) {
    pthread_mutex_destroy(&section->mutex);
}

DWORD TlsAlloc() {
    for (DWORD index = 0; index < TLS_MINIMUM_AVAILABLE; ++index) {
        std::uint32_t generation = slot_generations[index];
        if (generation % 2 == 0 &&
            slot_generations[index].compare_exchange_strong(generation, generation + 1))
            return index;
    }
    SetLastError(ERROR_NO_MORE_ITEMS);
    return TLS_OUT_OF_INDEXES;
}

BOOL TlsFree(DWORD index) {
    std::uint32_t generation = allocated_generation(index);
    if (generation == 0 || !slot_generations[index].compare_exchange_strong(generation, generation + 1)) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    return TRUE;
}

LPVOID TlsGetValue(DWORD index) {
    const std::uint32_t generation = allocated_generation(index);
    if (generation == 0) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    SetLastError(ERROR_SUCCESS);
    const SlotValue& slot = t_slot_values[index];
    return slot.generation == generation ? slot.value : nullptr;
}

BOOL TlsSetValue(DWORD index, LPVOID value) {
    const std::uint32_t generation = allocated_generation(index);
    if (generation == 0) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    t_slot_values[index] = {value, generation};
    return TRUE;
}
