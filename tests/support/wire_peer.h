#pragma once

#include <sockets.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace corrivane::test {

/// The other end of a loopback connection, in the system's plain calls, so that a test decides where bytes are cut
/// and how the connection ends. Whatever fails or takes longer than the patience throws std::runtime_error.
class WirePeer {
public:
    /// Listens on a free port. A patience of zero has no end.
    explicit WirePeer(std::chrono::seconds patience = std::chrono::seconds(20));
    ~WirePeer();
    WirePeer(const WirePeer&) = delete;
    WirePeer& operator=(const WirePeer&) = delete;

    int port() const { return m_port; }
    void accept();
    /// Connects to somebody else's port instead.
    void connect(int port);

    /// A length field and a message as they travel.
    static std::string frame(std::string_view message);
    static std::string length_field(std::uint32_t length);

    void send(std::string_view message) { send_bytes(frame(message)); }
    void send_bytes(std::string_view bytes);

    /// One message; exactly so many bytes.
    std::string receive();
    std::string receive_bytes(std::size_t count);
    /// All messages until the connection ends, or up to the message `last`, which is left out.
    std::vector<std::string> receive_all(std::string_view last = "\xFFnever sent");

    /// What is sent is complete; receiving goes on.
    void finish_sending();
    void close();
    /// Ends the connection as a process that dies does.
    void reset();
    /// No more connections.
    void stop_listening();

private:
    void prepare(Socket socket) const;
    /// Up to `count` bytes: how many, 0 at the connection's end.
    std::size_t receive_some(char* bytes, std::size_t count);
    std::string receive_payload(const std::string& header);

    const std::chrono::seconds m_patience;
    Socket m_listener;
    Socket m_connection = no_socket;
    int m_port = 0;
};

}  // namespace corrivane::test
