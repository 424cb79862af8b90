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
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGUSR1})
        ::sigaddset(&set, signal);
    return set;
}

FileDescriptor checked(int fd, const char* call) {
    if (fd == -1) throw std::system_error(errno, std::generic_category(), call);
    return FileDescriptor(fd);
}

}  // namespace

SignalWatch::SignalWatch(StopRequest& stop, bool finish_frames,
                         std::function<void(StopRequest::Level)> on_stop)
    : m_stop(stop),
      m_finish_frames(finish_frames),
      m_on_stop(std::move(on_stop)),
      m_end(checked(::eventfd(0, EFD_CLOEXEC), "eventfd")) {
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

StopRequest::Level SignalWatch::next_level(int signal) const {
    using Level = StopRequest::Level;
    const Level level = m_stop.level();
    if (signal == SIGUSR1 || (m_finish_frames && level == Level::none)) return Level::finishing;
    return level < Level::orderly ? Level::orderly : Level::immediate;
}

void SignalWatch::watch() {
    while (wait_readable({m_end.get(), m_signals.get()}, Deadline::max()) == m_signals.get()) {
        signalfd_siginfo info;
        if (::read(m_signals.get(), &info, sizeof info) != sizeof info) continue;
        const StopRequest::Level level = next_level(static_cast<int>(info.ssi_signo));
        if (level <= m_stop.level()) continue;
        m_stop.raise(level, static_cast<int>(info.ssi_signo));
        m_on_stop(level);
    }
}

}  // namespace corrivane::worker
