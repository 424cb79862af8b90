// The system's own sockets, for a peer that has nothing in common with the product.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <string>

namespace corrivane::test {

using Socket = int;
inline constexpr Socket no_socket = -1;

inline Socket new_socket() {
    return ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
}

inline Socket accept_from(Socket listener) {
    return ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
}

inline void close_socket(Socket socket) {
    ::close(socket);
}

inline timeval time_out(std::chrono::seconds seconds) {
    return {seconds.count(), 0};
}

inline bool was_reset() {
    return errno == ECONNRESET;
}

inline std::string socket_failure() {
    return std::strerror(errno);
}

}  // namespace corrivane::test
