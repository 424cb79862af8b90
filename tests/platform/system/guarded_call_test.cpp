#include "faults.h"
#include "support/sanitizers.h"

#include <differences.h>
#include <gtest/gtest.h>
#include <machine.h>
#include <thread_state.h>
#include <xmmintrin.h>

#include <cfenv>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string_view>
#include <thread>
#include <vector>

namespace {

TEST(GuardedCall, TakesFaultsUnderTheirWindowsCode) {
    for (const Provocation& fault : provocations()) {
        // ThreadSanitizer's own handler reads unaligned words before the guard's can allow that again.
        if (under_tsan && fault.code == EXCEPTION_DATATYPE_MISALIGNMENT) continue;
        SCOPED_TRACE(fault.name);
        for (int round = 0; round < 3; ++round) {
            Watch seen;
            ASSERT_EQ(guarded(fault.call, seen), fault.code);
            EXPECT_EQ(seen.runs, 1);
            EXPECT_EQ(seen.record.ExceptionCode, fault.code);
            const bool stands_elsewhere =
                !corrivane::test::x87_faults_are_where_the_thread_stands &&
                (fault.name.starts_with("X87") || fault.code == EXCEPTION_FLT_STACK_CHECK);
            EXPECT_TRUE(stands_elsewhere || reinterpret_cast<ULONG_PTR>(seen.record.ExceptionAddress) ==
                                                corrivane::test::instruction_pointer(seen.context));
            const ULONG_PTR* first = seen.record.ExceptionInformation;
            const std::vector<ULONG_PTR> parameters(first, first + seen.record.NumberParameters);
            EXPECT_TRUE(fault.parameters.empty() || parameters == fault.parameters);
            // The processor stands behind a breakpoint.
            const auto* instruction = static_cast<const BYTE*>(seen.record.ExceptionAddress);
            EXPECT_TRUE(fault.code != EXCEPTION_BREAKPOINT || *instruction == 0xCC);
        }
    }
}

TEST(GuardedCall, TakesStackOverflowsAgainAndAgainOnEveryThread) {
    const auto overflow_repeatedly = [](const Provocation& fault) {
        for (int round = 0; round < 100; ++round) {
            Watch seen;
            ASSERT_EQ(guarded(fault.call, seen), fault.code) << fault.name << round;
        }
    };
    for (const Provocation& fault : stack_overflows()) {
        overflow_repeatedly(fault);
        std::thread(overflow_repeatedly, std::cref(fault)).join();
    }
}

// What a filter finds of the faulting frames and of its own fault after it has dealt with another one.
struct Interlude {
    std::string_view frame;  // of the faulting call, full of x
    DWORD inside = 0;
    bool frame_is_intact = false;
    bool record_is_intact = false;
};

void fault_below_a_large_frame(void* interlude) {
    char frame[32 * 1024];
    std::memset(frame, 'x', sizeof(frame));
    static_cast<Interlude*>(interlude)->frame = {frame, sizeof(frame)};
    read_address_16();
}

int use_a_guard(DWORD, EXCEPTION_POINTERS* information, void* owner) {
    auto& interlude = *static_cast<Interlude*>(owner);
    const EXCEPTION_RECORD before = *information->ExceptionRecord;
    Watch seen;
    interlude.inside = guarded(write_address_32, seen);
    const EXCEPTION_RECORD& after = *information->ExceptionRecord;
    interlude.record_is_intact = after.ExceptionCode == before.ExceptionCode &&
                                 after.ExceptionAddress == before.ExceptionAddress &&
                                 after.ExceptionInformation[1] == before.ExceptionInformation[1] &&
                                 seen.record.ExceptionInformation[1] == 32;
    interlude.frame_is_intact = interlude.frame.find_first_not_of('x') == std::string_view::npos;
    return EXCEPTION_EXECUTE_HANDLER;
}

TEST(GuardedCall, FilterMayUseAGuardItself) {
    if (under_tsan) GTEST_SKIP() << "ThreadSanitizer defers a fault inside a handler";
    for (int round = 0; round < 10; ++round) {
        Interlude interlude;
        ASSERT_NE(seh_guarded_call(fault_below_a_large_frame, &interlude, use_a_guard, &interlude), 0u);
        EXPECT_EQ(interlude.inside, EXCEPTION_ACCESS_VIOLATION);
        EXPECT_TRUE(interlude.frame_is_intact);
        EXPECT_TRUE(interlude.record_is_intact);
    }
}

// Every second fault is taken by the inner one of two guards. Each comes with the thread disturbed.
void fault_often(std::size_t first, std::size_t count) {
    const auto& faults = provocations();
    for (std::size_t i = 0; i < count; ++i) {
        Watch seen;
        const Provocation& fault = faults[(first + i * 7) % faults.size()];
        const auto disturb_and_fault = [&] {
            disturb_thread();
            fault.call();
        };
        const bool is_nested = i % 2 == 1;
        const DWORD code = is_nested ? guarded([&] { guarded(disturb_and_fault, seen); }, seen)
                                     : guarded(disturb_and_fault, seen);
        ASSERT_EQ(seen.code, fault.code) << fault.name;
        ASSERT_EQ(code, is_nested ? 0 : fault.code);
    }
}

TEST(GuardedCall, ThousandsOfMixedFaultsLeaveTheThreadAsItWas) {
    const ThreadState before = ThreadState::now();
    fault_often(0, 10'000);
    expect_same(before, ThreadState::now());
}

TEST(GuardedCall, ThreadsFaultIndependently) {
    std::vector<std::thread> threads;
    for (std::size_t number = 0; number < 8; ++number)
        threads.emplace_back(fault_often, number * 5, 300);
    for (std::thread& thread : threads)
        thread.join();
}

// Which floating-point exceptions trap: mask bits of both units.
unsigned traps() {
    std::uint16_t x87 = 0;
    asm volatile("fnstcw %0" : "=m"(x87));
    const unsigned sse = ~_mm_getcsr() >> 7 & FE_ALL_EXCEPT;
    return (~x87 & FE_ALL_EXCEPT) == sse ? sse : ~0U;
}

void set_traps(unsigned exceptions) {
    std::uint16_t x87 = 0;
    asm volatile("fnstcw %0" : "=m"(x87));
    x87 = static_cast<std::uint16_t>((x87 | FE_ALL_EXCEPT) & ~exceptions);
    asm volatile("fldcw %0" ::"m"(x87));
    _mm_setcsr((_mm_getcsr() | FE_ALL_EXCEPT << 7) & ~(exceptions << 7));
}

TEST(GuardedCall, FloatingPointEnvironmentIsTheCallersAgain) {
    std::fenv_t original;
    std::fegetenv(&original);
    std::fesetround(FE_UPWARD);
    set_traps(FE_DIVBYZERO);
    Watch seen;
    const auto disturb_and_fault = [] {
        std::fesetround(FE_TOWARDZERO);
        set_traps(0);
        asm volatile("fld1");  // leaves the register stack of the x87 in use
        read_address_16();
    };
    for (int round = 0; round < 20; ++round) {
        EXPECT_EQ(guarded(disturb_and_fault, seen), EXCEPTION_ACCESS_VIOLATION);
        EXPECT_EQ(std::fegetround(), FE_UPWARD);
        EXPECT_EQ(traps(), unsigned{FE_DIVBYZERO});
    }
    const long double one = seen.runs / 20.0L;  // not a number if the register stack had overflowed
    EXPECT_EQ(one, 1.0L);
    std::fesetenv(&original);
}

}  // namespace
