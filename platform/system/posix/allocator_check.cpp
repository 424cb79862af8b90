#include "system/posix/allocator_check.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <ctime>

namespace system_detail {

namespace {

// Much longer than a busy machine may keep a thread waiting for a processor.
constexpr std::time_t patience_seconds = 5;
// Beyond the blocks that a thread keeps for itself and hands out without the lock.
constexpr std::size_t locked_size = 5000;

// A timer of the kernel's: the C library's may allocate. A sent signal is no fault, so it takes its
// default effect.
class SignalTimer {
public:
    explicit SignalTimer(int signal) {
        struct sigevent event {};
        event.sigev_notify = SIGEV_SIGNAL;
        event.sigev_signo = signal;
        m_created = syscall(SYS_timer_create, CLOCK_MONOTONIC, &event, &m_id) == 0;
        const struct itimerspec limit {
            {0, 0}, { patience_seconds, 0 }
        };
        if (m_created) syscall(SYS_timer_settime, m_id, 0, &limit, nullptr);
    }
    ~SignalTimer() {
        if (m_created) syscall(SYS_timer_delete, m_id);
    }
    SignalTimer(const SignalTimer&) = delete;
    SignalTimer& operator=(const SignalTimer&) = delete;

private:
    int m_id = 0;
    bool m_created = false;
};

}  // namespace

void end_process_if_allocator_is_stuck(int signal) {
    const SignalTimer timer(signal);
    void* volatile block = std::malloc(locked_size);
    std::free(block);
}

}  // namespace system_detail
