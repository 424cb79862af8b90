// What no guard takes must kill as if there were no guard. Each case runs in a process of its own.
#include "faults.h"
#include "support/sanitizers.h"

#include <seh_guard.h>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <stdexcept>
#include <thread>

namespace {

int refuse(DWORD, EXCEPTION_POINTERS*, void*) {
    return EXCEPTION_CONTINUE_SEARCH;
}

int exit_with_7(DWORD, EXCEPTION_POINTERS*, void*) {
    _exit(7);
}

void prepare_to_die() {
    const rlimit no_core_file{0, 0};
    setrlimit(RLIMIT_CORE, &no_core_file);
    alarm(20);
}

class UnguardedDeathTest : public testing::Test {
protected:
    void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

class RefusedFaultDeathTest : public UnguardedDeathTest, public testing::WithParamInterface<Provocation> {};

TEST_P(RefusedFaultDeathTest, KillsWithItsOwnSignal) {
    const auto die = [] {
        prepare_to_die();
        seh_guarded_call([](void*) { seh_guarded_call(GetParam().provoke, nullptr, refuse, nullptr); },
                         nullptr, refuse, nullptr);
    };
    EXPECT_EXIT(die(), testing::KilledBySignal(GetParam().signal), "");
}

TEST_P(RefusedFaultDeathTest, KillsWithItsOwnSignalAfterAGuardToo) {
    const auto die = [] {
        prepare_to_die();
        seh_guarded_call([](void*) {}, nullptr, exit_with_7, nullptr);
        GetParam().provoke(nullptr);
    };
    EXPECT_EXIT(die(), testing::KilledBySignal(GetParam().signal), "");
}

// One of each signal and each way to classify it.
std::vector<Provocation> refused_faults() {
    std::vector<Provocation> chosen;
    for (const Provocation& fault : provocations())
        for (const char* name : {"Write", "NonCanonicalStack", "MisalignedRead", "EndOfMappedFile", "Halt",
                                 "Undefined", "IntegerByZero", "SseUnderflow", "X87Underflow", "Breakpoint"})
            if (fault.name == name) chosen.push_back(fault);
    chosen.push_back(stack_overflows().front());
    return chosen;
}

INSTANTIATE_TEST_SUITE_P(Provoked, RefusedFaultDeathTest, testing::ValuesIn(refused_faults()),
                         provocation_name);

TEST_F(UnguardedDeathTest, FaultOfAnotherThreadKills) {
    const auto fault_beside_a_guard = [](void*) { std::thread(read_address_16, nullptr).join(); };
    const auto die = [&] {
        prepare_to_die();
        seh_guarded_call(fault_beside_a_guard, nullptr, exit_with_7, nullptr);
    };
    EXPECT_EXIT(die(), testing::KilledBySignal(SIGSEGV), "");
}

TEST_F(UnguardedDeathTest, FaultInTheOnlyFilterKills) {
    if (under_tsan) GTEST_SKIP() << "ThreadSanitizer defers a fault inside a handler";
    const auto faulting_filter = [](DWORD, EXCEPTION_POINTERS*, void*) {
        provocations().back().provoke(nullptr);
        read_address_16(nullptr);
        return EXCEPTION_EXECUTE_HANDLER;
    };
    const auto die = [&] {
        prepare_to_die();
        std::signal(SIGTRAP, SIG_IGN);
        seh_guarded_call(read_address_16, nullptr, faulting_filter, nullptr);
    };
    EXPECT_EXIT(die(), testing::KilledBySignal(SIGTRAP), "");
}

struct sigaction found_by_chaining;

// Calls what was there before it, as crash reporters do.
void chaining_handler(int signal, siginfo_t* information, void* machine) {
    found_by_chaining.sa_sigaction(signal, information, machine);
}

TEST_F(UnguardedDeathTest, HandlerThatCallsTheGuardsOwnInTurnEndsInDeath) {
    const auto die = [&] {
        prepare_to_die();
        seh_guarded_call([](void*) {}, nullptr, exit_with_7, nullptr);
        struct sigaction chaining {};
        chaining.sa_flags = SA_SIGINFO;
        chaining.sa_sigaction = chaining_handler;
        sigaction(SIGSEGV, &chaining, &found_by_chaining);
        seh_guarded_call(read_address_16, nullptr, refuse, nullptr);
    };
    EXPECT_EXIT(die(), testing::KilledBySignal(SIGSEGV), "");
}

TEST_F(UnguardedDeathTest, SentSignalIsNoFault) {
    for (const int signal : {SIGSEGV, SIGFPE, SIGTRAP}) {
        const auto die = [&] {
            prepare_to_die();
            auto number = signal;
            seh_guarded_call([](void* sent) { kill(getpid(), *static_cast<int*>(sent)); }, &number,
                             exit_with_7, nullptr);
            for (;;)
                pause();
        };
        EXPECT_EXIT(die(), testing::KilledBySignal(signal), "");
    }
}

TEST_F(UnguardedDeathTest, RefusedFaultReachesTheHandlerThatRuledBeforeWithItsInformation) {
    const auto die = [&] {
        prepare_to_die();
        struct sigaction mine {};
        mine.sa_flags = SA_SIGINFO;
        mine.sa_sigaction = [](int, siginfo_t* information, void*) {
            _exit(information->si_addr == reinterpret_cast<void*>(16) ? 42 : 1);
        };
        sigaction(SIGSEGV, &mine, nullptr);
        seh_guarded_call(read_address_16, nullptr, refuse, nullptr);
    };
    EXPECT_EXIT(die(), testing::ExitedWithCode(42), "");
}

TEST_F(UnguardedDeathTest, RaisedExceptionKillsWithTheSignalOfItsCode) {
    for (auto [code, signal] : {std::pair{EXCEPTION_INT_OVERFLOW, SIGFPE},
                                {EXCEPTION_ARRAY_BOUNDS_EXCEEDED, SIGSEGV},
                                {0xE0001234u, SIGABRT}}) {
        const auto die = [&] {
            prepare_to_die();
            seh_guarded_call(
                [](void* number) { RaiseException(*static_cast<DWORD*>(number), 0, 0, nullptr); }, &code,
                refuse, nullptr);
        };
        EXPECT_EXIT(die(), testing::KilledBySignal(signal), "");
        EXPECT_EXIT((prepare_to_die(), RaiseException(code, 0, 0, nullptr)), testing::KilledBySignal(signal),
                    "");
    }
}

}  // namespace
