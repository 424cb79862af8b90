#pragma once

#include "faults.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <csignal>

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

inline void expect_same(const ThreadState& before, const ThreadState& after) {
    for (int signal = 1; signal < SIGRTMAX; ++signal)
        EXPECT_EQ(sigismember(&before.mask, signal), sigismember(&after.mask, signal)) << signal;
    EXPECT_EQ(before.stack.ss_sp, after.stack.ss_sp);
    EXPECT_EQ(before.stack.ss_flags, after.stack.ss_flags);
    EXPECT_EQ(before.segv.sa_handler, after.segv.sa_handler);
}

inline void disturb_thread() {
    sigset_t others;
    sigemptyset(&others);
    sigaddset(&others, SIGUSR1);
    pthread_sigmask(SIG_BLOCK, &others, nullptr);
}
