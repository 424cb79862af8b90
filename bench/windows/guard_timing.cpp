// What guards cost on Windows, for information: there is no library of benchmarks for it.
#include "support/exception_report.h"

#include <system/guarded_call.h>

#include <algorithm>
#include <chrono>
#include <cstdio>

namespace {

int take(DWORD, EXCEPTION_POINTERS*, void*) {
    return EXCEPTION_EXECUTE_HANDLER;
}

int report_and_take(DWORD, EXCEPTION_POINTERS* information, void*) {
    build_exception_report(*information);
    return EXCEPTION_EXECUTE_HANDLER;
}

void nothing(void*) {}

void fault(void*) {
    asm volatile("movb (%0), %%al" : : "r"(nullptr) : "eax", "memory");
}

/// Microseconds that one call takes, the best of some rounds.
double time_of(int count, void (*call)(void*), SehFilter filter) {
    double best = 1e9;
    for (int round = 0; round < 5; ++round) {
        const auto start = std::chrono::steady_clock::now();
        for (int i = 0; i < count; ++i)
            seh_guarded_call(call, nullptr, filter, nullptr);
        const std::chrono::duration<double, std::micro> taken = std::chrono::steady_clock::now() - start;
        best = std::min(best, taken.count() / count);
    }
    return best;
}

void measure(const char* place) {
    std::printf("%s guard: %.2f us\n", place, time_of(100'000, nothing, take));
    std::printf("%s guard, trapped fault: %.1f us\n", place, time_of(5'000, fault, take));
    std::printf("%s guard, trapped fault with a report: %.0f us\n", place,
                time_of(200, fault, report_and_take));
}

}  // namespace

int main() {
    measure("outermost");
    seh_guarded_call([](void*) { measure("nested"); }, nullptr, take, nullptr);
}
