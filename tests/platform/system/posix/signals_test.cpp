#include "faults.h"

#include <gtest/gtest.h>
#include <thread_state.h>
#include <unistd.h>

#include <csignal>
#include <thread>

namespace {

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
