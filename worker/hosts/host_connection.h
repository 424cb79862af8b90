#pragma once

#include "net/simple_socket.h"
#include "worker/base/stop_request.h"
#include "worker/base/wait.h"
#include "worker/hosts/host_process.h"
#include "worker/hosts/quiet_watch.h"

#include <chrono>
#include <optional>
#include <string>

namespace corrivane::worker {

/// How long a host may go on after the user's wish to stop, before it is ended by force: with a frame of which it
/// does not ask whether to go on, and with everything else.
inline constexpr std::chrono::milliseconds render_stop_patience{1000};
inline constexpr std::chrono::milliseconds stop_patience{3000};

/// The worker's end of the TCP connection to one host: it listens, lets the host in by its token, and
/// carries messages.
///
/// Every wait also ends when the host dies and when the user wants to stop. All operations throw HostFailure
/// when the connection can't be used any more, and Stopped once the user wants the hosts killed.
class HostConnection {
public:
    /// Listens on a free port of 127.0.0.1. Throws quorvel::win32::simple_socket_error.
    explicit HostConnection(const StopRequest& stop);

    int port() const { return m_socket.listening_port(); }

    /// The process at the other end, whose output is read and whose death is noticed during waits.
    void watch(HostProcess& host) { m_host = &host; }

    /// Told of everything that comes from the host; its own actions are called during waits.
    void watch_quiet(QuietWatch& watch) { m_quiet = &watch; }

    /// For what is received from now on.
    void set_stop_patience(std::chrono::milliseconds patience) { m_stop_patience = patience; }

    /// Waits for the peer that sends the token. Others are turned away, whatever they send and however
    /// they leave; one that sends nothing holds the place for half a second. Throws Stopped at the first
    /// wish to stop.
    void accept(const std::string& token, Deadline deadline);

    /// Waits until the host takes it, for 10 seconds at most.
    void send(const std::string& message);

    /// The next message. Its bytes, once begun, have to come quickly. After the first wish to stop the host
    /// has the stop patience for all that is still to come, however far the deadline is.
    std::string receive(Deadline deadline);

    /// Tells the host, and whoever still waits to connect, that there is nothing more to do.
    void close() { m_socket.close(true); }

private:
    enum class StopReaction { go_on, give_up };

    bool is_ready_by(Deadline deadline, pollfd wanted, StopReaction reaction);
    bool is_readable_by(Deadline deadline, int descriptor, StopReaction reaction) {
        return is_ready_by(deadline, {descriptor, POLLIN, 0}, reaction);
    }
    Deadline limit_of(Deadline deadline, StopReaction reaction);
    void take_output();
    bool peer_has_token(const std::string& token, Deadline deadline);
    std::string receive_message();
    void prepare_connection();
    int handle() const { return static_cast<int>(m_socket.connection_handle()); }

    const StopRequest& m_stop;
    HostProcess* m_host = nullptr;
    quorvel::win32::simple_socket m_socket;
    QuietWatch* m_quiet = nullptr;
    std::chrono::milliseconds m_stop_patience = stop_patience;
    std::optional<Deadline> m_stop_begin;  // when the wish to stop was noticed
};

}  // namespace corrivane::worker
