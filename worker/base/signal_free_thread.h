#pragma once

#include <csignal>
#include <thread>
#include <utility>

namespace corrivane::worker {

/// Starts a thread on which no signal of the process is handled, whenever the process sets up its signals.
template <typename Function>
std::thread start_signal_free_thread(Function function) {
    sigset_t all;
    sigset_t before;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &before);
    std::thread thread(std::move(function));
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return thread;
}

}  // namespace corrivane::worker
