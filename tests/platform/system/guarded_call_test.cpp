#include "faults.h"
#include "support/sanitizers.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cfenv>
#include <csignal>
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
            EXPECT_EQ(reinterpret_cast<ULONG_PTR>(seen.record.ExceptionAddress), seen.context.Rip);
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

// Signal mask, signal stack and handlers, to be compared.
struct ThreadState {
    sigset_t mask;
    stack_t stack;
    struct sigaction segv;

    // The state of a thread that has had a guard before: it keeps its signal stack, and the process
    // the handlers.
    static ThreadState now() {
        seh_guarded_call([](void*) {}, nullptr, watch, nullptr);
        ThreadState state{};
        pthread_sigmask(SIG_SETMASK, nullptr, &state.mask);
        sigaltstack(nullptr, &state.stack);
        sigaction(SIGSEGV, nullptr, &state.segv);
        return state;
    }
};

void expect_same(const ThreadState& before, const ThreadState& after) {
    for (int signal = 1; signal < SIGRTMAX; ++signal)
        EXPECT_EQ(sigismember(&before.mask, signal), sigismember(&after.mask, signal)) << signal;
    EXPECT_EQ(before.stack.ss_sp, after.stack.ss_sp);
    EXPECT_EQ(before.stack.ss_flags, after.stack.ss_flags);
    EXPECT_EQ(before.segv.sa_handler, after.segv.sa_handler);
}

// Every second fault is taken by the inner one of two guards. Each comes with a signal blocked.
void fault_often(std::size_t first, std::size_t count) {
    const auto& faults = provocations();
    for (std::size_t i = 0; i < count; ++i) {
        Watch seen;
        const Provocation& fault = faults[(first + i * 7) % faults.size()];
        const auto block_and_fault = [&] {
            sigset_t others;
            sigemptyset(&others);
            sigaddset(&others, SIGUSR1);
            pthread_sigmask(SIG_BLOCK, &others, nullptr);
            fault.call();
        };
        const bool is_nested = i % 2 == 1;
        const DWORD code = is_nested ? guarded([&] { guarded(block_and_fault, seen); }, seen)
                                     : guarded(block_and_fault, seen);
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

TEST(GuardedCall, FloatingPointEnvironmentIsTheCallersAgain) {
    std::fenv_t original;
    std::fegetenv(&original);
    std::fesetround(FE_UPWARD);
    feenableexcept(FE_DIVBYZERO);
    Watch seen;
    const auto disturb_and_fault = [] {
        std::fesetround(FE_TOWARDZERO);
        fedisableexcept(FE_ALL_EXCEPT);
        asm volatile("fld1");  // leaves the register stack of the x87 in use
        read_address_16();
    };
    for (int round = 0; round < 20; ++round) {
        EXPECT_EQ(guarded(disturb_and_fault, seen), EXCEPTION_ACCESS_VIOLATION);
        EXPECT_EQ(std::fegetround(), FE_UPWARD);
        EXPECT_EQ(fegetexcept(), FE_DIVBYZERO);
    }
    const long double one = seen.runs / 20.0L;  // not a number if the register stack had overflowed
    EXPECT_EQ(one, 1.0L);
    std::fesetenv(&original);
}

TEST(GuardedCall, HandlersOfOthersRuleOutsideGuards) {
    struct sigaction mine {
    }, late{}, original, now;
    mine.sa_handler = [](int) { _exit(3); };  // not in place while a guard is
    sigaction(SIGSEGV, &mine, &original);
    Watch seen;
    EXPECT_NE(guarded(read_address_16, seen), 0u);
    sigaction(SIGSEGV, nullptr, &now);
    EXPECT_EQ(now.sa_handler, mine.sa_handler);

    late.sa_handler = SIG_IGN;  // installed by the guarded code: it stays
    EXPECT_EQ(guarded([&] { sigaction(SIGSEGV, &late, nullptr); }, seen), 0u);
    sigaction(SIGSEGV, &original, &now);
    EXPECT_EQ(now.sa_handler, SIG_IGN);
}

TEST(GuardedCall, EndOfAThreadPassesWithoutTheFilter) {
    Watch seen;
    ThreadState before{}, after{};
    std::thread ending([&] {
        before = ThreadState::now();
        struct AtEnd {
            ThreadState& state;
            ~AtEnd() { state = ThreadState::now(); }
        } at_end{after};
        guarded([] { pthread_exit(nullptr); }, seen);
    });
    ending.join();
    EXPECT_EQ(seen.runs, 0);
    expect_same(before, after);
}

}  // namespace
