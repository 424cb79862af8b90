#include "host_session.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

extern char** environ;

namespace corrivane::test {

namespace {

// Generous: sanitizer builds on a busy machine are slow, and nothing waits longer than it has to.
constexpr int patience_ms = 60'000;

/// Whether nothing can follow a reply to the command.
bool ends_command(std::string_view command, std::string_view reply) {
    if (reply.starts_with("FUNCTION: ") || reply == "STARTED") return false;
    constexpr std::string_view session_ends[] = {"ERROR: Exception caught in",
                                                 "ERROR: MAXException caught in",
                                                 "ERROR: Maxscript exception:", "ERROR: SEH exception: "};
    const auto begins_reply = [reply](std::string_view start) { return reply.starts_with(start); };
    const bool session_ended = std::any_of(std::begin(session_ends), std::end(session_ends), begins_reply);
    if (session_ended || !reply.starts_with("ERROR: ")) return true;
    // These tell an error first and then end like a success, or with one more error.
    if (command.starts_with("RenderTask"))
        return reply == "ERROR: Failed to save file." || reply.starts_with("ERROR: RenderTask: ");
    if (command.starts_with("StartJob")) return reply.starts_with("ERROR: StartJob: ");
    return !command.starts_with("EndJob");
}

std::string sanitizer_options_without_leaks() {
    const char* given = std::getenv("ASAN_OPTIONS");
    return std::string("ASAN_OPTIONS=") + (given == nullptr ? "" : given) + ":detect_leaks=0";
}

}  // namespace

std::filesystem::path programs_folder() {
    return CORRIVANE_PROGRAMS_FOLDER;
}

RunningProgram::RunningProgram(const std::vector<std::string>& command,
                               const std::filesystem::path& output_file)
    : m_output_file(output_file) {
    std::vector<char*> arguments;
    for (const std::string& argument : command)
        arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, output_file.c_str(),
                                     O_WRONLY | O_CREAT | O_TRUNC, 0600);
    posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
    const int failure = posix_spawn(&m_pid, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (failure != 0) throw std::runtime_error("cannot start " + command[0] + ": " + std::strerror(failure));
    m_pid_handle = static_cast<int>(syscall(SYS_pidfd_open, m_pid, 0));
}

RunningProgram::~RunningProgram() {
    if (!m_exit) {
        kill(m_pid, SIGKILL);
        waitpid(m_pid, nullptr, 0);
    }
    close(m_pid_handle);
}

int RunningProgram::wait() {
    if (m_exit) return *m_exit;
    pollfd end{m_pid_handle, POLLIN, 0};
    if (poll(&end, 1, patience_ms) != 1)
        throw std::runtime_error("the program did not end in time:\n" + output());
    int status = 0;
    waitpid(m_pid, &status, 0);
    m_exit = WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
    return *m_exit;
}

void RunningProgram::send_signal(int signal) const {
    kill(m_pid, signal);
}

HostSession::HostSession() : HostSession(Options{}) {}

HostSession::HostSession(const Options& options) {
    std::filesystem::create_directories(options.product_log ? log_folder() : drive_c());
    start(options);
    m_peer.accept();
    m_token = receive();
    if (options.handshake.empty()) return;
    send(options.handshake);
    m_greeting = receive();
}

void HostSession::start(const Options& options) {
    const std::string script = options.script_before + "print (QuillaneUtil.RunCorrivaneDaemon " +
                               std::to_string(m_peer.port()) + " \"a token, with \\\"quotes\\\"\")";
    std::vector<std::string> command;
    if (options.ends_by_fault) command = {"/usr/bin/env", sanitizer_options_without_leaks()};
    command.insert(command.end(),
                   {(programs_folder() / "corrivane-host").string(), "--drive", "C=" + drive_c().string()});
    command.insert(command.end(), options.arguments.begin(), options.arguments.end());
    command.insert(command.end(), {"--execute", script});
    m_host.emplace(command, m_folder.path() / "host-output.txt");
}

std::vector<std::string> HostSession::run(std::string_view command, std::string_view progress_answer) {
    send(command);
    std::vector<std::string> replies;
    do {
        std::string message = receive();
        if (message.starts_with("FUNCTION: PROGRESS ")) send(progress_answer);
        if (message.starts_with("FUNCTION: PROGRESS ") || message.starts_with("FUNCTION: SETTITLE ")) {
            m_progress.push_back(std::move(message));
            continue;
        }
        replies.push_back(std::move(message));
    } while (replies.empty() || !ends_command(command, replies.back()));
    return replies;
}

int HostSession::finish() {
    m_peer.close();
    return m_host->wait();
}

std::vector<std::string> HostSession::log_lines() const {
    return read_lines(log_folder() / "3dsmaxConnect.log");
}

std::string field(std::string_view text) {
    std::string quoted = "\"";
    for (const char c : text) {
        if (c == '\\' || c == '"') quoted += '\\';
        quoted += c;
    }
    return quoted += '"';
}

}  // namespace corrivane::test
