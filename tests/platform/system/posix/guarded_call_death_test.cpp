// What no guard takes must kill as if there were no guard. Each case runs in a process of its own.
#include "faults.h"
#include "support/sanitizers.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <thread>
#include <vector>

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

// One of each signal and each way to classify it.
TEST_F(UnguardedDeathTest, RefusedFaultKillsWithItsOwnSignalInAGuardAndAfterOne) {
    const auto die_refused = [](const Provocation& fault) {
        prepare_to_die();
        guarded([&] { guarded(fault.call, refuse, nullptr); }, refuse, nullptr);
    };
    const auto die_later = [](const Provocation& fault) {
        prepare_to_die();
        guarded([] {}, exit_with_7, nullptr);
        fault.call();
    };
    std::vector<Provocation> faults = {stack_overflows().front()};
    for (const char* name : {"Write", "NonCanonicalStack", "Datatype Misalignment", "In Page Error",
                             "Illegal Instruction", "Privileged Instruction", "Integer Divide By Zero",
                             "Float Underflow", "X87Underflow", "Breakpoint"})
        faults.push_back(provocation(name));
    for (const Provocation& fault : faults) {
        EXPECT_EXIT(die_refused(fault), testing::KilledBySignal(fault.signal), "") << fault.name;
        EXPECT_EXIT(die_later(fault), testing::KilledBySignal(fault.signal), "") << fault.name;
    }
}

TEST_F(UnguardedDeathTest, FaultOfAnotherThreadKills) {
    const auto die = [] {
        prepare_to_die();
        guarded([] { std::thread(read_address_16).join(); }, exit_with_7, nullptr);
    };
    EXPECT_EXIT(die(), testing::KilledBySignal(SIGSEGV), "");
}

TEST_F(UnguardedDeathTest, FaultInTheOnlyFilterKills) {
    if (under_tsan) GTEST_SKIP() << "ThreadSanitizer defers a fault inside a handler";
    const auto faulting_filter = [](DWORD, EXCEPTION_POINTERS*, void*) {
        provocation("SingleStep").call();
        read_address_16();
        return EXCEPTION_EXECUTE_HANDLER;
    };
    const auto die = [&] {
        prepare_to_die();
        std::signal(SIGTRAP, SIG_IGN);
        guarded(read_address_16, faulting_filter, nullptr);
    };
    EXPECT_EXIT(die(), testing::KilledBySignal(SIGTRAP), "");
}

// As crash reporters do: it calls what was there before it.
TEST_F(UnguardedDeathTest, HandlerThatCallsTheGuardsOwnInTurnEndsInDeath) {
    static struct sigaction guards_own;
    const auto die = [] {
        prepare_to_die();
        guarded([] {}, exit_with_7, nullptr);
        struct sigaction chaining {};
        chaining.sa_flags = SA_SIGINFO;
        chaining.sa_sigaction = [](int signal, siginfo_t* information, void* machine) {
            guards_own.sa_sigaction(signal, information, machine);
        };
        sigaction(SIGSEGV, &chaining, &guards_own);
        guarded(read_address_16, refuse, nullptr);
    };
    EXPECT_EXIT(die(), testing::KilledBySignal(SIGSEGV), "");
}

TEST_F(UnguardedDeathTest, SentSignalIsNoFault) {
    for (const int signal : {SIGSEGV, SIGFPE, SIGTRAP}) {
        const auto die = [&] {
            prepare_to_die();
            guarded([&] { kill(getpid(), signal); }, exit_with_7, nullptr);
            for (;;)
                pause();
        };
        EXPECT_EXIT(die(), testing::KilledBySignal(signal), "");
    }
}

// The handler returns without a repair, so the fault repeats itself, and the guard is asked again.
TEST_F(UnguardedDeathTest, RefusedFaultReachesTheHandlerThatRuledBeforeWithItsInformation) {
    static Watch refusing{EXCEPTION_CONTINUE_SEARCH};
    const auto die = [] {
        prepare_to_die();
        struct sigaction mine {};
        mine.sa_flags = SA_SIGINFO;
        mine.sa_sigaction = [](int, siginfo_t* information, void*) {
            if (information->si_addr != reinterpret_cast<void*>(16)) _exit(1);
            if (refusing.runs == 2) _exit(42);
        };
        sigaction(SIGSEGV, &mine, nullptr);
        guarded(read_address_16, refusing);
    };
    EXPECT_EXIT(die(), testing::ExitedWithCode(42), "");
}

TEST_F(UnguardedDeathTest, RaisedExceptionKillsWithTheSignalOfItsCode) {
    EXPECT_EXIT((prepare_to_die(), RaiseException(EXCEPTION_INT_OVERFLOW, 0, 0, nullptr)),
                testing::KilledBySignal(SIGFPE), "");
}

}  // namespace
