#include "bench/support/host_link.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <utility>

extern char** environ;

namespace corrivane::bench {

namespace {

void require(bool holds, const char* what) {
    if (!holds) throw std::runtime_error(std::string(what) + ": " + std::strerror(errno));
}

sockaddr_in loopback(int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

}  // namespace

Connection::Connection(int handle) : m_handle(handle) {
    const int enabled = 1;
    setsockopt(m_handle, IPPROTO_TCP, TCP_NODELAY, &enabled, sizeof enabled);
}

Connection::~Connection() {
    close(m_handle);
}

int Connection::connect(int port) {
    const int handle = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_in address = loopback(port);
    require(::connect(handle, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0, "connect");
    return handle;
}

void Connection::send_bytes(std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t sent = ::send(m_handle, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        require(sent > 0, "send");
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
}

void Connection::receive_bytes(char* buffer, std::size_t count) {
    while (count > 0) {
        const ssize_t got = recv(m_handle, buffer, count, 0);
        require(got >= 0, "recv");
        if (got == 0) throw std::runtime_error("the connection ended");
        buffer += got;
        count -= static_cast<std::size_t>(got);
    }
}

std::string Connection::frame(std::string_view message) {
    const std::uint32_t length = htonl(static_cast<std::uint32_t>(message.size()));
    return std::string(reinterpret_cast<const char*>(&length), sizeof length).append(message);
}

std::string Connection::receive() {
    std::uint32_t length = 0;
    receive_bytes(reinterpret_cast<char*>(&length), sizeof length);
    std::string message(ntohl(length), '\0');
    receive_bytes(message.data(), message.size());
    return message;
}

Listener::Listener() : m_handle(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address = loopback(0);
    socklen_t size = sizeof address;
    require(bind(m_handle, reinterpret_cast<sockaddr*>(&address), size) == 0, "bind");
    require(listen(m_handle, 1) == 0, "listen");
    require(getsockname(m_handle, reinterpret_cast<sockaddr*>(&address), &size) == 0, "getsockname");
    m_port = ntohs(address.sin_port);
}

Listener::~Listener() {
    close(m_handle);
}

int Listener::accept() {
    const int handle = accept4(m_handle, nullptr, nullptr, SOCK_CLOEXEC);
    require(handle >= 0, "accept");
    return handle;
}

ChildProcess::ChildProcess(const std::vector<std::string>& command) {
    std::vector<char*> arguments;
    for (const std::string& argument : command)
        arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDWR, 0);
    posix_spawn_file_actions_adddup2(&actions, STDIN_FILENO, STDOUT_FILENO);
    const int failure = posix_spawn(&m_pid, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (failure != 0) throw std::runtime_error("cannot start " + command[0] + ": " + std::strerror(failure));
}

ChildProcess::~ChildProcess() {
    if (m_pid > 0) kill(m_pid, SIGKILL);
    wait();
}

void ChildProcess::wait() {
    if (m_pid > 0) waitpid(std::exchange(m_pid, -1), nullptr, 0);
}

HostLink::HostLink(ProductLog log) {
    // The product logs where it finds this folder.
    if (log == ProductLog::on) std::filesystem::create_directories(drive_c() / "Quillane/logs");
    m_host.emplace(std::vector<std::string>{
        programs_folder() / "corrivane-host", "--drive", "C=" + drive_c().string(), "--execute",
        "QuillaneUtil.RunCorrivaneDaemon " + std::to_string(m_listener.port()) + " \"token\""});
    m_connection.emplace(m_listener.accept());
    m_connection->receive();
    m_connection->send("QuillaneStartup");
    m_connection->receive();
}

std::string HostLink::run(std::string_view command) {
    m_connection->send(command);
    for (;;) {
        std::string message = m_connection->receive();
        if (message.starts_with("SUCCESS")) return message;
        if (message.starts_with("ERROR")) throw std::runtime_error(message);
        if (message.starts_with("FUNCTION: PROGRESS")) m_connection->send("CONTINUE");
    }
}

}  // namespace corrivane::bench
