#include "support/running_program.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <stdexcept>

namespace corrivane::test {

namespace {

// Generous: sanitizer builds on a busy machine are slow, and nothing waits longer than it has to.
constexpr int patience_ms = 60'000;

}  // namespace

std::string built_program(const std::string& name) {
    return std::string(CORRIVANE_PROGRAMS_FOLDER) + "/" + name;
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

}  // namespace corrivane::test
