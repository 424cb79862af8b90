#pragma once

#include "bench/support/bench_files.h"

#include <sys/types.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corrivane::bench {

/// One end of a loopback connection, in plain blocking calls and nothing more. Failures and a closed
/// connection are std::runtime_error.
class Connection {
public:
    /// Takes over the socket.
    explicit Connection(int handle);
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    static int connect(int port);

    void send_bytes(std::string_view bytes);
    /// Fills the buffer.
    void receive_bytes(char* buffer, std::size_t count);

    /// A message with its length in front.
    static std::string frame(std::string_view message);
    void send(std::string_view message) { send_bytes(frame(message)); }
    std::string receive();

private:
    int m_handle;
};

/// Listens on a free port of 127.0.0.1.
class Listener {
public:
    Listener();
    ~Listener();
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    int port() const { return m_port; }
    /// Waits for a peer; the socket is the caller's.
    int accept();

private:
    int m_handle;
    int m_port = 0;
};

/// A process without input and output. Killed at the end if it still runs.
class ChildProcess {
public:
    /// Throws std::runtime_error when it cannot be started.
    explicit ChildProcess(const std::vector<std::string>& command);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    void wait();

private:
    pid_t m_pid = -1;
};

enum class ProductLog { on, off };

/// A running corrivane-host with an open session; its drive C is a folder of its own.
class HostLink {
public:
    /// Returns once the handshake has been answered.
    explicit HostLink(ProductLog log = ProductLog::on);

    const std::filesystem::path& drive_c() const { return m_drive_c.path(); }
    Connection& connection() { return *m_connection; }
    /// Sends a command and answers its progress requests until a reply begins with "SUCCESS"; returns that.
    /// An error is thrown as std::runtime_error.
    std::string run(std::string_view command);

private:
    TemporaryFolder m_drive_c;
    Listener m_listener;
    std::optional<ChildProcess> m_host;
    std::optional<Connection> m_connection;
};

}  // namespace corrivane::bench
