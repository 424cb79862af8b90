// The system's own sockets, for a peer that has nothing in common with the product.
#pragma once

#include <winsock2.h>

#include <chrono>
#include <string>

namespace corrivane::test {

using Socket = SOCKET;
using socklen_t = int;
inline constexpr Socket no_socket = INVALID_SOCKET;
inline constexpr int MSG_NOSIGNAL = 0;
inline constexpr int SHUT_WR = SD_SEND;

inline Socket new_socket() {
    static const int started = [] {
        WSADATA data;
        return WSAStartup(MAKEWORD(2, 2), &data);
    }();
    return started == 0 ? ::socket(AF_INET, SOCK_STREAM, 0) : no_socket;
}

inline Socket accept_from(Socket listener) {
    return ::accept(listener, nullptr, nullptr);
}

inline void close_socket(Socket socket) {
    ::closesocket(socket);
}

inline DWORD time_out(std::chrono::seconds seconds) {
    return static_cast<DWORD>(seconds.count() * 1000);
}

inline bool was_reset() {
    return WSAGetLastError() == WSAECONNRESET;
}

inline std::string socket_failure() {
    return "error " + std::to_string(WSAGetLastError());
}

}  // namespace corrivane::test
