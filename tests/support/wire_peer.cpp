#include "support/wire_peer.h"

#include <cstring>
#include <stdexcept>
#include <utility>

namespace corrivane::test {

namespace {

void require(bool holds, const char* what) {
    if (!holds) throw std::runtime_error(std::string("wire peer: ") + what + ": " + socket_failure());
}

sockaddr_in loopback(int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

void close_if_open(Socket& socket) {
    if (socket != no_socket) close_socket(std::exchange(socket, no_socket));
}

void set_option(Socket socket, int level, int name, const auto& value) {
    require(setsockopt(socket, level, name, reinterpret_cast<const char*>(&value), sizeof value) == 0,
            "setsockopt");
}

}  // namespace

WirePeer::WirePeer(std::chrono::seconds patience) : m_patience(patience), m_listener(new_socket()) {
    prepare(m_listener);
    sockaddr_in address = loopback(0);
    socklen_t size = sizeof address;
    require(::bind(m_listener, reinterpret_cast<sockaddr*>(&address), size) == 0, "bind");
    require(::listen(m_listener, 1) == 0, "listen");
    require(::getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &size) == 0, "getsockname");
    m_port = ntohs(address.sin_port);
}

WirePeer::~WirePeer() {
    close();
    stop_listening();
}

/// Bounds the waits, accept's too, and sends small messages at once.
void WirePeer::prepare(Socket socket) const {
    set_option(socket, SOL_SOCKET, SO_RCVTIMEO, time_out(m_patience));
    set_option(socket, SOL_SOCKET, SO_SNDTIMEO, time_out(m_patience));
    set_option(socket, IPPROTO_TCP, TCP_NODELAY, 1);
}

void WirePeer::accept() {
    m_connection = accept_from(m_listener);
    require(m_connection != no_socket, "accept");
    prepare(m_connection);
}

void WirePeer::connect(int port) {
    m_connection = new_socket();
    prepare(m_connection);
    const sockaddr_in address = loopback(port);
    require(::connect(m_connection, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0,
            "connect");
}

std::string WirePeer::length_field(std::uint32_t length) {
    const std::uint32_t big_endian = htonl(length);
    return {reinterpret_cast<const char*>(&big_endian), sizeof big_endian};
}

std::string WirePeer::frame(std::string_view message) {
    return length_field(static_cast<std::uint32_t>(message.size())).append(message);
}

void WirePeer::send_bytes(std::string_view bytes) {
    while (!bytes.empty()) {
        const auto sent = ::send(m_connection, bytes.data(), static_cast<int>(bytes.size()), MSG_NOSIGNAL);
        require(sent > 0, "send");
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
}

std::size_t WirePeer::receive_some(char* bytes, std::size_t count) {
    const auto got = ::recv(m_connection, bytes, static_cast<int>(count), 0);
    require(got >= 0 || was_reset(), "recv");
    return got < 0 ? 0 : static_cast<std::size_t>(got);
}

std::string WirePeer::receive_bytes(std::size_t count) {
    std::string bytes(count, '\0');
    for (std::size_t got = 0; got < count;) {
        const std::size_t more = receive_some(&bytes[got], count - got);
        if (more == 0) throw std::runtime_error("wire peer: the connection ended");
        got += more;
    }
    return bytes;
}

std::string WirePeer::receive_payload(const std::string& header) {
    std::uint32_t length = 0;
    std::memcpy(&length, header.data(), sizeof length);
    return receive_bytes(ntohl(length));
}

std::string WirePeer::receive() {
    return receive_payload(receive_bytes(sizeof(std::uint32_t)));
}

std::vector<std::string> WirePeer::receive_all(std::string_view last) {
    std::vector<std::string> messages;
    for (char start = 0; receive_some(&start, 1) > 0;) {
        std::string message = receive_payload(start + receive_bytes(sizeof(std::uint32_t) - 1));
        if (message == last) break;
        messages.push_back(std::move(message));
    }
    return messages;
}

void WirePeer::finish_sending() {
    require(::shutdown(m_connection, SHUT_WR) == 0, "shutdown");
}

void WirePeer::close() {
    close_if_open(m_connection);
}

void WirePeer::reset() {
    set_option(m_connection, SOL_SOCKET, SO_LINGER, linger{1, 0});
    close();
}

void WirePeer::stop_listening() {
    close_if_open(m_listener);
}

}  // namespace corrivane::test
