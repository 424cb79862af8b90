#pragma once

#include <winsock2.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>

namespace quorvel::win32 {

/// Any failure of the socket layer.
class simple_socket_error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A wait ran out of time; the connection is still open.
class simple_socket_timeout_error : public simple_socket_error {
public:
    using simple_socket_error::simple_socket_error;
};

/// The peer closed the connection; both handles have been closed.
class simple_socket_disconnect_error : public simple_socket_error {
public:
    using simple_socket_error::simple_socket_error;
};

/// A blocking TCP/IPv4 socket that carries whole messages: a 4-byte big-endian length, then that many bytes.
///
/// An object holds at most one connection and plays either side: idle, then `connect`; or idle, then
/// `start_listen` and `wait_for_connect`. Every failure is one of the three exceptions above. A send failure,
/// a time-out and a bad length leave the connection open; a disconnect and a failed receive close it, which
/// `is_connected` then tells.
///
/// Time-outs are in milliseconds and bound a whole message, not each piece of it: what has come of a message
/// when its time runs out is lost. A negative one never runs out. No locking: one thread at a time.
class simple_socket {
public:
    /// The largest frame that can be sent, its 4 length bytes included, and the largest length that
    /// is accepted.
    static constexpr std::size_t max_frame_size = 100000;
    /// The largest raw message.
    static constexpr std::size_t max_raw_size = 1536;

    /// Starts Winsock.
    simple_socket();
    /// Starts Winsock and connects.
    simple_socket(const std::string& address, int port);
    ~simple_socket();
    simple_socket(const simple_socket&) = delete;
    simple_socket& operator=(const simple_socket&) = delete;

    /// Connects to a dotted IPv4 address; names are not looked up.
    void connect(const std::string& address, int port);

    /// Listens on a port, 0 for any free one; on 127.0.0.1 alone when `localOnly`.
    void start_listen(int port, bool localOnly);
    /// The port that a listening socket got.
    int listening_port() const;
    /// Waits for one peer and accepts it; small messages then leave at once.
    void wait_for_connect(int timeoutMs, bool closeListener);

    void send(const std::string& message);
    std::string receive(int timeoutMs);

    /// The same without framing: the bytes of one network send or receive; none at the peer's end, which
    /// closes nothing here.
    void send_raw(const std::string& bytes);
    std::string receive_raw(int timeoutMs);

    bool is_connected() const { return m_connection != INVALID_SOCKET; }
    bool is_listening() const { return m_listener != INVALID_SOCKET; }
    /// The connection's handle, to wait for together with other things; stays the object's.
    SOCKET connection_handle() const { return m_connection; }
    /// The listener's handle, likewise: readable once a peer waits to be accepted.
    SOCKET listening_handle() const { return m_listener; }

    void close(bool alsoListener);

private:
    /// Waits until there is something to read, or until the tick count reaches the cut-off.
    void wait_for_data(DWORD cutoff) const;
    /// Reads exactly `length` bytes, waiting before each piece if `waitEach`. With a length of 0 it still waits
    /// for the next bytes once.
    void receive_data(char* buffer, std::size_t length, bool waitEach, DWORD cutoff);
    std::size_t receive_piece(char* buffer, std::size_t length, int flags = 0);
    std::optional<std::string> take_arrived_message();
    void send_bytes(const std::string& bytes) const;
    void use_accepted_connection() const;

    SOCKET m_listener = INVALID_SOCKET;
    SOCKET m_connection = INVALID_SOCKET;
    sockaddr_in m_peer{};
};

}  // namespace quorvel::win32
