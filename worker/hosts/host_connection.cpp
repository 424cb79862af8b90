#include "worker/hosts/host_connection.h"

#include "worker/base/failures.h"

#include <algorithm>

namespace corrivane::worker {
namespace {

using quorvel::win32::simple_socket_disconnect_error;
using quorvel::win32::simple_socket_error;

/// A message comes in one piece over the loopback; one that does not is a host in trouble.
constexpr std::chrono::milliseconds message_patience{2000};
/// The host sends its token as soon as it has connected. Less than the second for which the host itself, when
/// it has to queue behind a silent peer, waits for an answer to its token.
constexpr std::chrono::milliseconds token_patience{500};
/// A host that does not read for so long will not read any more.
constexpr std::chrono::milliseconds send_patience{10000};
/// For a message that is longer than what the system still takes.
constexpr timeval long_send_patience{2, 0};

/// Runs a call on the socket; its failures become those of the host.
template <typename Call>
auto on_socket(Call call) {
    try {
        return call();
    } catch (const simple_socket_disconnect_error&) {
        throw HostFailure("the host closed the connection");
    } catch (const simple_socket_error& error) {
        throw HostFailure(std::string("the connection to the host failed: ") + error.what());
    }
}

}  // namespace

HostConnection::HostConnection(const StopRequest& stop) : m_stop(stop) {
    m_socket.start_listen(0, true);
}

void HostConnection::accept(const std::string& token, Deadline deadline) {
    std::string purpose = "connect";
    while (is_readable_by(deadline, static_cast<int>(m_socket.listening_handle()), StopReaction::give_up)) {
        on_socket([this] { m_socket.wait_for_connect(0, false); });
        if (peer_has_token(token, std::min(deadline, deadline_in(token_patience))))
            return prepare_connection();
        m_socket.close(false);
        purpose = "connect with its token (a peer without it was turned away)";
    }
    throw HostFailure("the host did not " + purpose + " in time");
}

/// Reads the token's bytes itself: the socket would give up listening over a stranger that hangs up.
bool HostConnection::peer_has_token(const std::string& token, Deadline deadline) {
    const std::uint32_t length = htonl(static_cast<std::uint32_t>(token.size()));
    std::string missing(reinterpret_cast<const char*>(&length), sizeof length);
    missing += token;
    while (!missing.empty()) {
        if (!is_readable_by(deadline, handle(), StopReaction::give_up)) return false;
        std::string piece(missing.size(), '\0');
        const auto count =
            ::recv(m_socket.connection_handle(), piece.data(), static_cast<int>(piece.size()), 0);
        if (count <= 0) return false;
        piece.resize(static_cast<std::size_t>(count));
        if (!missing.starts_with(piece)) return false;
        missing.erase(0, piece.size());
    }
    return true;
}

void HostConnection::send(const std::string& message) {
    if (!is_ready_by(deadline_in(send_patience), {handle(), POLLOUT, 0}, StopReaction::go_on))
        throw HostFailure("the host does not read what it is sent");
    if (m_quiet != nullptr) m_quiet->heard();
    on_socket([&] { m_socket.send(message); });
}

std::string HostConnection::receive(Deadline deadline) {
    if (!is_readable_by(deadline, handle(), StopReaction::go_on))
        throw HostFailure("the host did not answer in time");
    return receive_message();
}

std::string HostConnection::receive_message() {
    std::string message = on_socket([this] { return m_socket.receive(message_patience.count()); });
    prepare_connection();
    if (m_quiet != nullptr) m_quiet->heard();
    return message;
}

/// Bounds a send to a host that stopped reading, and acknowledges at once what comes in: the plug-in
/// sends small messages in pairs, and its system holds the second back until the first is acknowledged,
/// which by default takes up to 40 ms. The kernel goes back to its default by itself, so this is set
/// again for each message.
void HostConnection::prepare_connection() {
    const int at_once = 1;
    ::setsockopt(handle(), IPPROTO_TCP, TCP_QUICKACK, &at_once, sizeof at_once);
    ::setsockopt(handle(), SOL_SOCKET, SO_SNDTIMEO, &long_send_patience, sizeof long_send_patience);
}

/// Until when to wait, after a look at what the user wants.
Deadline HostConnection::limit_of(Deadline deadline, StopReaction reaction) {
    if (m_stop.level() == StopRequest::Level::immediate) throw Stopped();
    if (m_stop.requested() && reaction == StopReaction::give_up) throw Stopped();
    if (m_stop.aborting() && !m_stop_begin) m_stop_begin = Clock::now();
    return m_stop_begin ? std::min(deadline, *m_stop_begin + m_stop_patience) : deadline;
}

bool HostConnection::is_ready_by(Deadline deadline, pollfd wanted, StopReaction reaction) {
    for (;;) {
        const Deadline limit = limit_of(deadline, reaction);
        int stop_fd = m_stop_begin ? m_stop.immediate_fd() : m_stop.orderly_fd();
        if (reaction == StopReaction::give_up) stop_fd = m_stop.requested_fd();
        const int output_fd = m_host != nullptr ? m_host->output_fd() : -1;
        const int exit_fd = m_host != nullptr ? m_host->exit_fd() : -1;
        const Deadline wake = m_quiet != nullptr ? std::min(limit, m_quiet->next()) : limit;
        const auto ready =
            wait_ready({{stop_fd, POLLIN, 0}, wanted, {output_fd, POLLIN, 0}, {exit_fd, POLLIN, 0}}, wake);
        if (ready == wanted.fd) return true;
        if (Clock::now() >= limit) return false;
        if (m_quiet != nullptr) m_quiet->look();
        if (ready == output_fd) take_output();
        if (ready == exit_fd) throw HostFailure("the host ended");
    }
}

void HostConnection::take_output() {
    m_host->read_output();
    if (m_quiet != nullptr) m_quiet->heard();
}

}  // namespace corrivane::worker
