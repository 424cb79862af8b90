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

StopRequest::StopRequest() : m_orderly(make_event()), m_immediate(make_event()) {}

void StopRequest::raise() {
    const bool first = m_level == Level::none;
    m_level = first ? Level::orderly : Level::immediate;
    ::eventfd_write(first ? m_orderly.get() : m_immediate.get(), 1);
}

}  // namespace corrivane::worker
