#include "worker/base/signal_watch.h"

#include "worker/base/wait.h"

#include <sys/eventfd.h>
#include <sys/signalfd.h>

#include <cerrno>
#include <csignal>
#include <system_error>
#include <utility>

namespace corrivane::worker {
namespace {

sigset_t stop_signals() {
    sigset_t set;
    ::sigemptyset(&set);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        ::sigaddset(&set, signal);
    return set;
}

FileDescriptor checked(int fd, const char* call) {
    if (fd == -1) throw std::system_error(errno, std::generic_category(), call);
    return FileDescriptor(fd);
}

}  // namespace

SignalWatch::SignalWatch(StopRequest& stop, std::function<void(StopRequest::Level)> on_stop)
    : m_stop(stop), m_on_stop(std::move(on_stop)), m_end(checked(::eventfd(0, EFD_CLOEXEC), "eventfd")) {
    const sigset_t set = stop_signals();
    m_signals = checked(::signalfd(-1, &set, SFD_CLOEXEC), "signalfd");
    ::pthread_sigmask(SIG_BLOCK, &set, nullptr);
    m_thread = std::thread([this] { watch(); });
}

SignalWatch::~SignalWatch() {
    ::eventfd_write(m_end.get(), 1);
    m_thread.join();
    const sigset_t set = stop_signals();
    ::pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
}

void SignalWatch::watch() {
    while (wait_readable({m_end.get(), m_signals.get()}, Deadline::max()) == m_signals.get()) {
        signalfd_siginfo info;
        if (::read(m_signals.get(), &info, sizeof info) != sizeof info) continue;
        m_stop.raise();
        m_on_stop(m_stop.level());
    }
}

}  // namespace corrivane::worker
