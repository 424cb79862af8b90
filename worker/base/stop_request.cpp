#include "worker/base/stop_request.h"

#include <sys/eventfd.h>

#include <cerrno>
#include <system_error>

namespace corrivane::worker {
namespace {

FileDescriptor make_event() {
    const int fd = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (fd == -1) throw std::system_error(errno, std::generic_category(), "eventfd");
    return FileDescriptor(fd);
}

}  // namespace

StopRequest::StopRequest() : m_requested(make_event()), m_orderly(make_event()), m_immediate(make_event()) {}

void StopRequest::raise(Level level, int signal) {
    if (level <= m_level) return;
    if (m_signal == 0) m_signal = signal;
    m_level = level;
    ::eventfd_write(m_requested.get(), 1);
    if (level >= Level::orderly) ::eventfd_write(m_orderly.get(), 1);
    if (level >= Level::immediate) ::eventfd_write(m_immediate.get(), 1);
}

}  // namespace corrivane::worker
