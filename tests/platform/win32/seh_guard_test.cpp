#include "faults.h"
#include "guard_watch.h"
#include "support/sanitizers.h"

#include <seh_guard.h>

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cfenv>
#include <csignal>
#include <cstring>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace {

class Fault : public testing::TestWithParam<Provocation> {};

TEST_P(Fault, IsTakenUnderItsWindowsCode) {
    const Provocation& fault = GetParam();
    for (int round = 0; round < 3; ++round) {
        Watch seen;
        ASSERT_EQ(seh_guarded_call(fault.provoke, nullptr, watch, &seen), fault.code);
        EXPECT_EQ(seen.runs, 1);
        EXPECT_EQ(seen.code, fault.code);
        EXPECT_EQ(seen.record.ExceptionCode, fault.code);
        EXPECT_EQ(reinterpret_cast<ULONG_PTR>(seen.record.ExceptionAddress), seen.context.Rip);
        if (!fault.parameters.empty()) {
            const ULONG_PTR* first = seen.record.ExceptionInformation;
            EXPECT_EQ(std::vector<ULONG_PTR>(first, first + seen.record.NumberParameters), fault.parameters);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Provoked, Fault, testing::ValuesIn(provocations()), provocation_name);

class StackOverflow : public testing::TestWithParam<Provocation> {};

TEST_P(StackOverflow, IsTakenAgainAndAgainOnEveryThread) {
    const auto overflow_repeatedly = [] {
        for (int round = 0; round < 100; ++round) {
            Watch seen;
            ASSERT_EQ(seh_guarded_call(GetParam().provoke, nullptr, watch, &seen), EXCEPTION_STACK_OVERFLOW)
                << round;
        }
    };
    overflow_repeatedly();
    std::thread(overflow_repeatedly).join();
}

INSTANTIATE_TEST_SUITE_P(Provoked, StackOverflow, testing::ValuesIn(stack_overflows()), provocation_name);

TEST(SehGuard, InnermostGuardThatTakesWins) {
    Watch outer, refusing, inner;
    refusing.decision = EXCEPTION_CONTINUE_SEARCH;
    DWORD refusing_result = 0, inner_result = 0;
    const DWORD outer_result = guarded(
        [&] {
            inner_result = guarded([] { read_address_16(nullptr); }, inner);
            refusing_result = guarded([] { read_address_16(nullptr); }, refusing);
            ADD_FAILURE() << "the call went on after an exception that its guard refused";
        },
        outer);
    EXPECT_EQ(inner_result, EXCEPTION_ACCESS_VIOLATION);
    EXPECT_EQ(refusing_result, 0u);
    EXPECT_EQ(outer_result, EXCEPTION_ACCESS_VIOLATION);
    EXPECT_EQ(refusing.runs, 1);
    EXPECT_EQ(outer.runs, 1);
}

TEST(SehGuard, FaultInAFilterGoesToTheGuardOutside) {
    if (under_tsan) GTEST_SKIP() << "ThreadSanitizer defers a fault inside a handler";
    const auto faulting_filter = [](DWORD, EXCEPTION_POINTERS*, void*) {
        provocations()[1].provoke(nullptr);  // writes address 32
        return EXCEPTION_EXECUTE_HANDLER;
    };
    for (int round = 0; round < 10; ++round) {
        Watch outer;
        const DWORD code =
            guarded([&] { guarded([] { read_address_16(nullptr); }, faulting_filter, nullptr); }, outer);
        EXPECT_EQ(code, EXCEPTION_ACCESS_VIOLATION);
        EXPECT_EQ(outer.runs, 1);
        EXPECT_EQ(outer.record.ExceptionInformation[1], 32u);
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
    read_address_16(nullptr);
}

int use_a_guard(DWORD, EXCEPTION_POINTERS* information, void* owner) {
    auto& interlude = *static_cast<Interlude*>(owner);
    const EXCEPTION_RECORD before = *information->ExceptionRecord;
    Watch seen;
    interlude.inside =
        seh_guarded_call(provocations()[1].provoke, nullptr, watch, &seen);  // writes address 32
    interlude.record_is_intact = std::memcmp(&before, information->ExceptionRecord, sizeof(before)) == 0 &&
                                 seen.record.ExceptionInformation[1] == 32;
    interlude.frame_is_intact = interlude.frame.find_first_not_of('x') == std::string_view::npos;
    return EXCEPTION_EXECUTE_HANDLER;
}

TEST(SehGuard, FilterMayUseAGuardItself) {
    if (under_tsan) GTEST_SKIP() << "ThreadSanitizer defers a fault inside a handler";
    for (int round = 0; round < 10; ++round) {
        Interlude interlude;
        ASSERT_NE(seh_guarded_call(fault_below_a_large_frame, &interlude, use_a_guard, &interlude), 0u);
        EXPECT_EQ(interlude.inside, EXCEPTION_ACCESS_VIOLATION);
        EXPECT_TRUE(interlude.frame_is_intact);
        EXPECT_TRUE(interlude.record_is_intact);
    }
}

TEST(SehGuard, BreakpointsAddressIsItsInstruction) {
    Watch seen;
    const auto break_here = [] { asm volatile("int3"); };
    ASSERT_EQ(guarded(break_here, seen), EXCEPTION_BREAKPOINT);
    EXPECT_EQ(*static_cast<const BYTE*>(seen.record.ExceptionAddress), 0xCC);
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

// Every second fault is taken by the inner one of two guards.
void fault_often(std::size_t first, std::size_t count) {
    const auto& faults = provocations();
    for (std::size_t i = 0; i < count; ++i) {
        Watch seen;
        const Provocation& fault = faults[(first + i * 7) % faults.size()];
        const bool is_nested = i % 2 == 1;
        const DWORD code =
            is_nested ? guarded([&] { seh_guarded_call(fault.provoke, nullptr, watch, &seen); }, seen)
                      : seh_guarded_call(fault.provoke, nullptr, watch, &seen);
        ASSERT_EQ(seen.code, fault.code) << fault.name;
        ASSERT_EQ(code, is_nested ? 0 : fault.code);
    }
}

TEST(SehGuard, ThousandsOfMixedFaultsLeaveTheThreadAsItWas) {
    const ThreadState before = ThreadState::now();
    fault_often(0, 10'000);
    expect_same(before, ThreadState::now());
    EXPECT_EQ(std::fegetround(), FE_TONEAREST);
}

TEST(SehGuard, ThreadsFaultIndependently) {
    std::vector<std::thread> threads;
    for (std::size_t number = 0; number < 8; ++number)
        threads.emplace_back(fault_often, number * 5, 300);
    for (std::thread& thread : threads)
        thread.join();
}

TEST(SehGuard, FloatingPointEnvironmentIsTheCallersAgain) {
    std::fenv_t original;
    std::fegetenv(&original);
    std::fesetround(FE_UPWARD);
    feenableexcept(FE_DIVBYZERO);
    Watch seen;
    const auto disturb_and_fault = [] {
        std::fesetround(FE_TOWARDZERO);
        fedisableexcept(FE_ALL_EXCEPT);
        asm volatile("fld1");  // leaves the register stack of the x87 in use
        read_address_16(nullptr);
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

TEST(SehGuard, SignalMaskIsTheCallersAgain) {
    const ThreadState before = ThreadState::now();
    Watch seen;
    const auto block_and_fault = [] {
        sigset_t all;
        sigfillset(&all);
        sigdelset(&all, SIGSEGV);
        pthread_sigmask(SIG_BLOCK, &all, nullptr);
        read_address_16(nullptr);
    };
    EXPECT_EQ(guarded(block_and_fault, seen), EXCEPTION_ACCESS_VIOLATION);
    expect_same(before, ThreadState::now());
}

TEST(SehGuard, HandlersOfOthersRuleOutsideGuards) {
    struct sigaction mine {
    }, original, now;
    mine.sa_handler = [](int) { _exit(3); };  // not in place while a guard is
    sigaction(SIGSEGV, &mine, &original);
    Watch seen;
    EXPECT_NE(guarded([] { read_address_16(nullptr); }, seen), 0u);
    sigaction(SIGSEGV, nullptr, &now);
    EXPECT_EQ(now.sa_handler, mine.sa_handler);
    sigaction(SIGSEGV, &original, nullptr);

    struct sigaction late {};  // installed by the guarded code: it stays
    late.sa_handler = SIG_IGN;
    sigaction(SIGFPE, nullptr, &original);
    EXPECT_EQ(guarded([&] { sigaction(SIGFPE, &late, nullptr); }, seen), 0u);
    sigaction(SIGFPE, nullptr, &now);
    EXPECT_EQ(now.sa_handler, SIG_IGN);
    sigaction(SIGFPE, &original, nullptr);
}

char* closed_page = nullptr;

TEST(SehGuard, HandlerThatRuledBeforeMayRepairWhatGuardsRefuse) {
    constexpr std::size_t page_size = 4096;
    closed_page = static_cast<char*>(mmap(nullptr, page_size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    struct sigaction repairing {
    }, original;
    repairing.sa_handler = [](int) { mprotect(closed_page, page_size, PROT_READ | PROT_WRITE); };
    sigaction(SIGSEGV, &repairing, &original);
    Watch refusing;
    refusing.decision = EXCEPTION_CONTINUE_SEARCH;
    const auto write_twice = [] {
        *static_cast<volatile char*>(closed_page) = 1;
        mprotect(closed_page, page_size, PROT_NONE);
        *static_cast<volatile char*>(closed_page) = 2;
    };
    EXPECT_EQ(guarded(write_twice, refusing), 0u);
    EXPECT_EQ(refusing.runs, 2);
    EXPECT_EQ(*closed_page, 2);
    sigaction(SIGSEGV, &original, nullptr);
    munmap(closed_page, page_size);
}

TEST(SehGuard, EndOfAThreadPassesWithoutTheFilter) {
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
