#include "os/end_requests.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cmath>
#include <csignal>
#include <cstdint>
#include <initializer_list>

namespace corrivane {

namespace {

volatile std::sig_atomic_t g_signal = 0;
bool (*g_ends_by_itself)() = nullptr;

/// Becomes readable when it is set.
const int g_stop_event = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);

void end_at_once(int /*alarm*/) {
    std::signal(g_signal, SIG_DFL);
    std::raise(g_signal);
}

void handle(int number) {
    g_signal = number;
    std::signal(number, SIG_DFL);
    if (!g_ends_by_itself()) {
        std::raise(number);
        return;
    }
    std::signal(SIGALRM, end_at_once);
    alarm(1);
}

}  // namespace

void handle_end_requests(bool (*ends_by_itself)()) {
    g_ends_by_itself = ends_by_itself;
    for (const int number : {SIGTERM, SIGINT}) {
        struct sigaction before {};
        sigaction(number, nullptr, &before);
        // Who started the program in the background may have said that it shall not be interrupted.
        if (before.sa_handler == SIG_IGN) continue;
        struct sigaction action {};
        action.sa_handler = handle;
        action.sa_flags = SA_RESTART;
        sigaction(number, &action, nullptr);
    }
}

int end_request_exit_code() {
    return g_signal == 0 ? 0 : 128 + g_signal;
}

void set_stop_event() {
    const std::uint64_t one = 1;
    // Nobody could be told that this failed; waits would last as long as they were to.
    [[maybe_unused]] const ssize_t written = write(g_stop_event, &one, sizeof one);
}

void wait_for_stop_event(double seconds) {
    pollfd event{g_stop_event, POLLIN, 0};
    poll(&event, 1, static_cast<int>(std::ceil(seconds * 1000)));
}

}  // namespace corrivane
