#include "net/simple_socket.h"

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace quorvel::win32 {

namespace {

constexpr std::size_t header_size = sizeof(std::uint32_t);
constexpr const char* no_socket_text = "socket: Failed to create tcp/ip socket.";
std::string last_error_number() {
    return std::to_string(WSAGetLastError());
}

/// Of a port only the low 16 bits count, as in every address.
sockaddr_in ipv4_address(std::uint32_t address_in_network_order, int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = address_in_network_order;
    return address;
}

SOCKET create_tcp_socket() {
    const SOCKET created = ::socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    if (created == INVALID_SOCKET) throw simple_socket_error(no_socket_text);
    return created;
}

void shut_and_close(SOCKET& handle) {
    if (handle != INVALID_SOCKET) {
        ::shutdown(handle, SD_BOTH);
        ::closesocket(handle);
    }
    handle = INVALID_SOCKET;
}

/// Whether a socket becomes readable within the time; null means without limit. Negative: select failed.
int wait_until_readable(SOCKET handle, timeval* limit) {
    fd_set readable;
    FD_ZERO(&readable);
    FD_SET(handle, &readable);
    return ::select(static_cast<int>(handle) + 1, &readable, nullptr, nullptr, limit);
}

std::uint32_t decode_length(const char* header) {
    std::uint32_t length = 0;
    std::memcpy(&length, header, sizeof length);
    return ntohl(length);
}

timeval split_milliseconds(int milliseconds) {
    return {milliseconds / 1000, (milliseconds % 1000) * 1000L};
}

}  // namespace

simple_socket::simple_socket() {
    WSADATA data;
    if (WSAStartup(MAKEWORD(2, 2), &data) != 0) throw simple_socket_error("WSAStartup: failed");
}

simple_socket::simple_socket(const std::string& address, int port) : simple_socket() {
    connect(address, port);
}

simple_socket::~simple_socket() {
    close(true);
    WSACleanup();
}

void simple_socket::connect(const std::string& address, int port) {
    if (is_connected()) throw simple_socket_error("simple_socket::connect: Already connected.");
    if (is_listening())
        throw simple_socket_error("simple_socket::connect: Already listening for a connection.");

    const std::uint32_t ip = inet_addr(address.c_str());
    if (ip == INADDR_NONE)
        throw simple_socket_error("simple_socket::connect: Invalid IP address specified, " + address);

    m_connection = create_tcp_socket();
    const sockaddr_in peer = ipv4_address(ip, port);
    if (::connect(m_connection, reinterpret_cast<const sockaddr*>(&peer), sizeof peer) != 0) {
        close(true);
        throw simple_socket_error("connect: Failed to connect to server at port " + std::to_string(port));
    }
}

void simple_socket::start_listen(int port, bool localOnly) {
    if (is_connected()) throw simple_socket_error("simple_socket::start_listen: Already connected.");
    if (is_listening())
        throw simple_socket_error("simple_socket::start_listen: Already listening for a connection.");

    m_listener = create_tcp_socket();
    const sockaddr_in local = ipv4_address(htonl(localOnly ? INADDR_LOOPBACK : INADDR_ANY), port);
    if (::bind(m_listener, reinterpret_cast<const sockaddr*>(&local), sizeof local) != 0) {
        const std::string code = last_error_number();
        close(true);
        throw simple_socket_error("bind: Failed to bind to the port.: " + code);
    }
    if (::listen(m_listener, 1) != 0) {
        const std::string code = last_error_number();
        close(true);
        throw simple_socket_error("listen: Failed to listen on socket: " + code);
    }
}

int simple_socket::listening_port() const {
    sockaddr_in local{};
    int size = sizeof local;
    if (!is_listening() || ::getsockname(m_listener, reinterpret_cast<sockaddr*>(&local), &size) != 0)
        throw simple_socket_error("simple_socket::listening_port: Not listening for a connection.");
    return ntohs(local.sin_port);
}

void simple_socket::wait_for_connect(int timeoutMs, bool closeListener) {
    if (is_connected()) throw simple_socket_error("simple_socket::wait_for_connect: Already connected.");
    if (!is_listening())
        throw simple_socket_error("simple_socket::wait_for_connect: Not listening for a connection.");

    timeval limit = split_milliseconds(timeoutMs);
    const int ready = wait_until_readable(m_listener, timeoutMs < 0 ? nullptr : &limit);
    if (ready < 0) {
        close(true);
        throw simple_socket_error("select: Error waiting for connection.");
    }
    if (ready == 0)
        throw simple_socket_timeout_error(
            "simple_socket::wait_for_connect: Timed out waiting for connection.");

    int peer_size = sizeof m_peer;
    m_connection = ::accept(m_listener, reinterpret_cast<sockaddr*>(&m_peer), &peer_size);
    if (m_connection == INVALID_SOCKET) {
        close(true);
        throw simple_socket_error("accept: failed");
    }
    if (closeListener) shut_and_close(m_listener);
    use_accepted_connection();
}

/// Makes small messages leave at once: no coalescing, and no send buffer to linger in.
void simple_socket::use_accepted_connection() const {
    const int no_delay = 1;
    if (::setsockopt(m_connection, IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&no_delay),
                     sizeof no_delay) != 0)
        throw simple_socket_error("Could not disable packet coalescing on the socket.");
    const int buffer_size = 1;
    if (::setsockopt(m_connection, SOL_SOCKET, SO_SNDBUF, reinterpret_cast<const char*>(&buffer_size),
                     sizeof buffer_size) != 0)
        throw simple_socket_error("Could not shrink the send buffer.");
}

void simple_socket::send(const std::string& message) {
    if (!is_connected()) throw simple_socket_error("simple_socket: send called while not connected.");
    const std::uint32_t length = htonl(static_cast<std::uint32_t>(message.size()));
    const std::size_t frame_size = message.size() + sizeof length;
    if (frame_size > max_frame_size)
        throw simple_socket_error("simple_socket::send: Tried to send too much data at once.");

    std::string frame;
    frame.reserve(frame_size);
    frame.append(reinterpret_cast<const char*>(&length), sizeof length).append(message);
    send_bytes(frame);
}

void simple_socket::send_raw(const std::string& bytes) {
    if (!is_connected()) throw simple_socket_error("simple_socket: send_raw called while not connected.");
    if (bytes.size() > max_raw_size)
        throw simple_socket_error("simple_socket::send: Tried to send too much data at once.");
    send_bytes(bytes);
}

/// One send call for everything, so that a frame's length and payload leave together.
void simple_socket::send_bytes(const std::string& bytes) const {
    const int sent = ::send(m_connection, bytes.data(), static_cast<int>(bytes.size()), 0);
    if (sent == SOCKET_ERROR)
        throw simple_socket_error("send: error trying to send data: WSAError code " + last_error_number());
    if (static_cast<std::size_t>(sent) < bytes.size())
        throw simple_socket_error("send: failed to send the entire message.");
}

void simple_socket::wait_for_data(DWORD cutoff) const {
    // The tick count wraps; the difference does not mind.
    const auto remaining = static_cast<std::int32_t>(cutoff - GetTickCount());
    timeval limit = split_milliseconds(std::max(remaining, std::int32_t{0}));
    const int ready = wait_until_readable(m_connection, &limit);
    if (ready < 0)
        throw simple_socket_error("select: Operation on socket failed: WSAError code " + last_error_number());
    if (ready == 0) throw simple_socket_timeout_error("simple_socket: Timed out waiting for data.");
}

/// One recv of at most `length` bytes; closes both handles when there is nothing more to come.
std::size_t simple_socket::receive_piece(char* buffer, std::size_t length, int flags) {
    const int got = ::recv(m_connection, buffer, static_cast<int>(length), flags);
    if (got == SOCKET_ERROR) {
        const std::string code = last_error_number();
        close(true);
        throw simple_socket_error("recv: socket error trying to receive data: WSAError code " + code);
    }
    if (got == 0) {
        close(true);
        throw simple_socket_disconnect_error(
            "simple_socket::receive: socket was disconnected while reading data.");
    }
    return static_cast<std::size_t>(got);
}

void simple_socket::receive_data(char* buffer, std::size_t length, bool waitEach, DWORD cutoff) {
    std::size_t have = 0;
    do {
        if (waitEach) wait_for_data(cutoff);
        if (have < length) have += receive_piece(buffer + have, length - have);
    } while (have < length);
}

/// The next message if it is short and has arrived whole, as most are when their first byte has: the system
/// is asked no more than needed. Everything else is left where it is; so is an empty message, since the caller
/// waits for what follows it.
std::optional<std::string> simple_socket::take_arrived_message() {
    char arrived[2048];
    const std::size_t size = receive_piece(arrived, sizeof arrived, MSG_PEEK);
    if (size <= header_size) return std::nullopt;
    const std::uint32_t length = decode_length(arrived);
    if (length == 0 || length > size - header_size) return std::nullopt;
    receive_piece(arrived, header_size + length);
    return std::string(arrived + header_size, length);
}

std::string simple_socket::receive(int timeoutMs) {
    if (!is_connected()) throw simple_socket_error("simple_socket: receive while not connected.");
    // A negative time-out never runs out: every read then waits by itself.
    const bool waits = timeoutMs >= 0;
    const DWORD cutoff = GetTickCount() + static_cast<DWORD>(timeoutMs);
    try {
        if (waits) wait_for_data(cutoff);
    } catch (const simple_socket_timeout_error&) {
        throw simple_socket_timeout_error("simple_socket: Timed out waiting for header packet to arrive.");
    }

    char header[header_size];
    try {
        if (std::optional<std::string> message = take_arrived_message()) return *std::move(message);
        receive_data(header, sizeof header, waits, cutoff);
    } catch (const simple_socket_disconnect_error&) {
        throw simple_socket_disconnect_error(
            "simple_socket::receive: socket was disconnected while reading header.");
    }
    const std::uint32_t length = decode_length(header);
    if (length > max_frame_size)
        throw simple_socket_error("simple_socket::receive: Invalid packet size (given " +
                                  std::to_string(length) + ")");

    std::string payload(length, '\0');
    receive_data(payload.data(), payload.size(), waits, cutoff);
    return payload;
}

std::string simple_socket::receive_raw(int timeoutMs) {
    if (!is_connected()) throw simple_socket_error("simple_socket: receive_raw while not connected.");
    try {
        if (timeoutMs >= 0) wait_for_data(GetTickCount() + static_cast<DWORD>(timeoutMs));
    } catch (const simple_socket_timeout_error&) {
        throw simple_socket_timeout_error(
            "simple_socket::receive_raw: Timed out waiting for raw packet to arrive.");
    }
    char buffer[max_raw_size];
    const int got = ::recv(m_connection, buffer, sizeof buffer, 0);
    if (got == SOCKET_ERROR)
        throw simple_socket_error("recv: error trying to receive data: WSAError code " + last_error_number());
    return std::string(buffer, static_cast<std::size_t>(got));
}

void simple_socket::close(bool alsoListener) {
    shut_and_close(m_connection);
    if (alsoListener) shut_and_close(m_listener);
}

}  // namespace quorvel::win32
