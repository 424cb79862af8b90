#include <winsock2.h>

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstring>
#include <optional>

namespace {

std::atomic<int> startup_count{0};

int winsock_error(int error_number) {
    switch (error_number) {
        case EACCES:
        case EPERM:
            return WSAEACCES;
        case EFAULT:
            return WSAEFAULT;
        case EINVAL:
            return WSAEINVAL;
        case EMFILE:
        case ENFILE:
            return WSAEMFILE;
        case EAGAIN:
        case EINPROGRESS:
            return WSAEWOULDBLOCK;  // Winsock's own EINPROGRESS means a callback that blocks
        case EALREADY:
            return WSAEALREADY;
        case EBADF:
        case ENOTSOCK:
            return WSAENOTSOCK;
        case EDESTADDRREQ:
            return WSAEDESTADDRREQ;
        case EMSGSIZE:
            return WSAEMSGSIZE;
        case EPROTOTYPE:
            return WSAEPROTOTYPE;
        case ENOPROTOOPT:
            return WSAENOPROTOOPT;
        case EPROTONOSUPPORT:
            return WSAEPROTONOSUPPORT;
        case EOPNOTSUPP:
            return WSAEOPNOTSUPP;
        case EAFNOSUPPORT:
            return WSAEAFNOSUPPORT;
        case EADDRINUSE:
            return WSAEADDRINUSE;
        case EADDRNOTAVAIL:
            return WSAEADDRNOTAVAIL;
        case ENETDOWN:
            return WSAENETDOWN;
        case ENETUNREACH:
            return WSAENETUNREACH;
        case ENETRESET:
            return WSAENETRESET;
        case ECONNABORTED:
            return WSAECONNABORTED;
        case ECONNRESET:
        case EPIPE:
            return WSAECONNRESET;
        case ENOBUFS:
        case ENOMEM:
            return WSAENOBUFS;
        case EISCONN:
            return WSAEISCONN;
        case ENOTCONN:
            return WSAENOTCONN;
        case ESHUTDOWN:
            return WSAESHUTDOWN;
        case ETIMEDOUT:
            return WSAETIMEDOUT;
        case ECONNREFUSED:
            return WSAECONNREFUSED;
        case EHOSTDOWN:
            return WSAEHOSTDOWN;
        case EHOSTUNREACH:
            return WSAEHOSTUNREACH;
        default:
            return static_cast<int>(ERROR_GEN_FAILURE);
    }
}

int fail(int error) {
    SetLastError(static_cast<DWORD>(error));
    return SOCKET_ERROR;
}

int fail_with_errno() {
    return fail(winsock_error(errno));
}

// Passes a POSIX result on: both worlds say -1 for a failure.
int result_of(int posix_result) {
    return posix_result < 0 ? fail_with_errno() : posix_result;
}

SOCKET socket_of(int descriptor) {
    if (descriptor >= 0) return static_cast<SOCKET>(descriptor);
    fail_with_errno();
    return INVALID_SOCKET;
}

// -1, which every system call refuses as no descriptor, for what cannot be one.
int descriptor_of(SOCKET socket) {
    return socket <= INT_MAX ? static_cast<int>(socket) : -1;
}

template <typename Call>
auto uninterrupted(Call call) {
    for (;;) {
        const auto result = call();
        if (result >= 0 || errno != EINTR) return result;
    }
}

// A connection attempt that a signal interrupted goes on by itself; its end is seen as writability.
int finish_connecting(int descriptor) {
    pollfd waiting{descriptor, POLLOUT, 0};
    if (uninterrupted([&] { return poll(&waiting, 1, -1); }) < 0) return fail_with_errno();
    int error = 0;
    socklen_t size = sizeof(error);
    if (getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &error, &size) < 0) return fail_with_errno();
    return error == 0 ? 0 : fail(winsock_error(error));
}

using Clock = std::chrono::steady_clock;

// When the wait is over; nothing for a wait without end.
std::optional<Clock::time_point> deadline_of(const timeval* limit) {
    if (limit == nullptr) return std::nullopt;
    constexpr std::int64_t longest_seconds =
        100LL * 365 * 24 * 3600;  // keeps the sum below the clock's range
    return Clock::now() + std::chrono::seconds(std::min<std::int64_t>(limit->tv_sec, longest_seconds)) +
           std::chrono::microseconds(std::min<std::int64_t>(limit->tv_usec, longest_seconds));
}

// The sockets of a set, as poll wants them.
class PollList {
public:
    explicit PollList(const fd_set& set) : m_count(set.fd_count) {
        for (unsigned i = 0; i < m_count; ++i)
            m_entries[i] = {descriptor_of(set.fd_array[i]), POLLIN, 0};
    }

    // Waits; returns poll's result. A signal does not end the wait.
    int wait(std::optional<Clock::time_point> deadline) {
        return uninterrupted([&] {
            if (!deadline) return ppoll(m_entries.data(), m_count, nullptr, nullptr);
            const auto left = std::max(*deadline - Clock::now(), Clock::duration::zero());
            const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(left);
            const timespec time{seconds.count(),
                                static_cast<long>(std::chrono::nanoseconds(left - seconds).count())};
            return ppoll(m_entries.data(), m_count, &time, nullptr);
        });
    }

    // poll ignores a negative descriptor and marks one that is not open.
    bool has_invalid() const {
        return std::any_of(m_entries.begin(), m_entries.begin() + m_count, [](const pollfd& entry) {
            return entry.fd < 0 || (entry.revents & POLLNVAL) != 0;
        });
    }

    // Leaves in the set those of its sockets at which something happened.
    int keep_ready(fd_set& set) const {
        unsigned ready = 0;
        for (unsigned i = 0; i < m_count; ++i)
            if (m_entries[i].revents != 0) set.fd_array[ready++] = set.fd_array[i];
        set.fd_count = ready;
        return static_cast<int>(ready);
    }

private:
    std::array<pollfd, FD_SETSIZE> m_entries{};
    const unsigned m_count;
};

}  // namespace

int WSAStartup(WORD version, WSADATA* data) {
    if (version != MAKEWORD(2, 2)) return WSAVERNOTSUPPORTED;
    *data = {version};
    ++startup_count;
    return 0;
}

int WSACleanup() {
    int count = startup_count;
    while (count > 0)
        if (startup_count.compare_exchange_weak(count, count - 1)) return 0;
    return fail(WSANOTINITIALISED);
}

int WSAGetLastError() {
    return static_cast<int>(GetLastError());
}

SOCKET socket(int family, decltype(SOCK_STREAM) type, int protocol) {
    if (startup_count == 0) {
        fail(WSANOTINITIALISED);
        return INVALID_SOCKET;
    }
    return socket_of(::socket(family, static_cast<int>(type) | SOCK_CLOEXEC, protocol));
}

// Windows' loopback acknowledges at once. Here the peer's acknowledgement may take 40 ms, for which a second
// small message would wait; so messages leave without waiting for one.
int connect(SOCKET socket, const sockaddr* address, int size) {
    const int descriptor = descriptor_of(socket);
    const int enabled = 1;
    ::setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &enabled, sizeof(enabled));
    const int result = ::connect(descriptor, address, static_cast<socklen_t>(size));
    return result < 0 && errno == EINTR ? finish_connecting(descriptor) : result_of(result);
}

// Winsock lets a server take the port of one that has just ended, for which POSIX wants an option. Two
// listeners on one port still refuse each other.
int bind(SOCKET socket, const sockaddr* address, int size) {
    const int enabled = 1;
    const int descriptor = descriptor_of(socket);
    if (::setsockopt(descriptor, SOL_SOCKET, SO_REUSEADDR, &enabled, sizeof(enabled)) < 0)
        return fail_with_errno();
    return result_of(::bind(descriptor, address, static_cast<socklen_t>(size)));
}

int listen(SOCKET socket, int backlog) {
    return result_of(::listen(descriptor_of(socket), backlog));
}

SOCKET accept(SOCKET socket, sockaddr* address, int* size) {
    auto length = static_cast<socklen_t>(size != nullptr ? *size : 0);
    const int accepted = uninterrupted([&] {
        return accept4(descriptor_of(socket), address, size != nullptr ? &length : nullptr, SOCK_CLOEXEC);
    });
    if (accepted >= 0 && size != nullptr) *size = static_cast<int>(length);
    return socket_of(accepted);
}

int send(SOCKET socket, const char* bytes, int count, int flags) {
    if (count < 0) return fail(WSAEINVAL);
    int done = 0;
    do {
        const void* const rest = bytes + done;
        const ssize_t sent = uninterrupted([&] {
            return ::send(descriptor_of(socket), rest, static_cast<std::size_t>(count - done),
                          flags | MSG_NOSIGNAL);
        });
        if (sent < 0) {
            const bool is_full =
                errno == EAGAIN && done > 0;  // a non-blocking socket: what went is the result
            return is_full ? done : fail_with_errno();
        }
        done += static_cast<int>(sent);
    } while (done < count);
    return done;
}

int recv(SOCKET socket, char* bytes, int count, int flags) {
    if (count < 0) return fail(WSAEINVAL);
    void* const buffer = bytes;
    const ssize_t received = uninterrupted(
        [&] { return ::recv(descriptor_of(socket), buffer, static_cast<std::size_t>(count), flags); });
    return result_of(static_cast<int>(received));
}

int shutdown(SOCKET socket, int how) {
    return result_of(::shutdown(descriptor_of(socket), how));
}

int closesocket(SOCKET socket) {
    const int result = close(descriptor_of(socket));
    return result < 0 && errno == EINTR ? 0 : result_of(result);  // Linux has closed it by then
}

int setsockopt(SOCKET socket, int level, int name, const char* value, int size) {
    const void* const option = value;
    return result_of(::setsockopt(descriptor_of(socket), level, name, option, static_cast<socklen_t>(size)));
}

int getsockname(SOCKET socket, sockaddr* address, int* size) {
    auto length = static_cast<socklen_t>(*size);
    const int result = ::getsockname(descriptor_of(socket), address, &length);
    if (result == 0) *size = static_cast<int>(length);
    return result_of(result);
}

void FD_ZERO(fd_set* set) {
    set->fd_count = 0;
}

void FD_SET(SOCKET socket, fd_set* set) {
    SOCKET* const end = set->fd_array + set->fd_count;
    if (set->fd_count < FD_SETSIZE && std::find(set->fd_array, end, socket) == end)
        set->fd_array[set->fd_count++] = socket;
}

int select(int /*ignored*/, fd_set* readable, fd_set* writable, fd_set* exceptional, const timeval* limit) {
    const bool has_sockets =
        readable != nullptr && readable->fd_count > 0 && readable->fd_count <= FD_SETSIZE;
    const bool has_past_limit = limit != nullptr && (limit->tv_sec < 0 || limit->tv_usec < 0);
    if (!has_sockets || writable != nullptr || exceptional != nullptr || has_past_limit)
        return fail(WSAEINVAL);
    PollList list(*readable);
    if (list.has_invalid()) return fail(WSAENOTSOCK);
    if (list.wait(deadline_of(limit)) < 0) return fail_with_errno();
    if (list.has_invalid()) return fail(WSAENOTSOCK);
    return list.keep_ready(*readable);
}
