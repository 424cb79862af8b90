#include "worker/hosts/host_process.h"

#include "worker/base/pidfd.h"
#include "worker/base/wait.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <system_error>
#include <utility>

namespace corrivane::worker {
namespace {

constexpr std::size_t kept_lines = 12;
/// A line of output that grows beyond this is cut, so that a host that never ends its line fills no memory.
constexpr std::size_t max_line = 4096;
constexpr std::chrono::milliseconds patience_after_sigterm{2000};

struct Pipe {
    FileDescriptor read_end;
    FileDescriptor write_end;
};

Pipe make_pipe() {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) == -1) throw std::system_error(errno, std::generic_category(), "pipe");
    return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

/// The end to read a text from, which waits there as a whole: no pipe holds less than a page.
FileDescriptor readable_text(std::string_view text) {
    Pipe pipe = make_pipe();
    ::fcntl(pipe.write_end.get(), F_SETFL, O_NONBLOCK);
    if (!text.empty() && ::write(pipe.write_end.get(), text.data(), text.size()) != std::ssize(text))
        throw std::system_error(errno, std::generic_category(), "pipe");
    return std::move(pipe.read_end);
}

std::vector<char*> argument_vector(const std::string& program, const std::vector<std::string>& arguments) {
    std::vector<char*> vector{const_cast<char*>(program.c_str())};
    for (const std::string& argument : arguments)
        vector.push_back(const_cast<char*>(argument.c_str()));
    vector.push_back(nullptr);
    return vector;
}

/// Signals as a program expects them at its start: the worker blocks some and ignores others.
void restore_signals() {
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    ::signal(SIGPIPE, SIG_DFL);
}

/// The child's way from fork to exec. Other threads may have held any lock at the fork, so only system calls
/// here. Returns the error number when it fails.
int become_host(char* const* arguments, pid_t worker, int input, int output) {
    ::setpgid(0, 0);
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != worker) ::_exit(1);  // the worker died before the kernel knew that it matters
    restore_signals();
    if (::dup2(input, STDIN_FILENO) == -1) return errno;
    if (::dup2(output, STDOUT_FILENO) == -1) return errno;
    if (::dup2(output, STDERR_FILENO) == -1) return errno;
    ::execv(arguments[0], arguments);
    return errno;
}

std::string describe_status(const siginfo_t& info) {
    if (info.si_code == CLD_EXITED) return "exited with code " + std::to_string(info.si_status);
    const char* name = ::sigdescr_np(info.si_status);
    return "was ended by signal " + std::to_string(info.si_status) + " (" + (name ? name : "unknown") + ")";
}

}  // namespace

HostProcess::HostProcess(const std::string& program, const std::vector<std::string>& arguments,
                         std::string_view input, LineSink on_output)
    : m_on_output(std::move(on_output)) {
    Pipe output = make_pipe();
    Pipe failure = make_pipe();  // carries exec's error number, or closes at a successful exec
    const FileDescriptor input_end = readable_text(input);
    const std::vector<char*> vector = argument_vector(program, arguments);
    const pid_t worker = ::getpid();

    m_pid = ::fork();
    if (m_pid == -1) throw std::system_error(errno, std::generic_category(), "fork");
    if (m_pid == 0) {
        const int error = become_host(vector.data(), worker, input_end.get(), output.write_end.get());
        [[maybe_unused]] const auto written = ::write(failure.write_end.get(), &error, sizeof error);
        ::_exit(127);
    }
    ::setpgid(m_pid, m_pid);  // on both sides: whoever comes first, the group is there before it is signalled
    failure.write_end.reset();
    m_exit = FileDescriptor(::pidfd_open(m_pid, 0));
    const int exit_error = m_exit.get() == -1 ? errno : 0;
    m_output = std::move(output.read_end);
    ::fcntl(m_output.get(), F_SETFL, O_NONBLOCK);

    int error = exit_error;
    if (error != 0 || ::read(failure.read_end.get(), &error, sizeof error) == sizeof error) {
        reap(nullptr);
        throw std::system_error(error, std::generic_category(), "cannot start the host " + program);
    }
}

HostProcess::~HostProcess() {
    if (m_pid != -1) reap("was killed");
}

void HostProcess::read_output() {
    char buffer[16384];
    // Bounded, so that a host that writes without end does not keep the worker from everything else.
    for (int round = 0; round < 64 && m_output.get() != -1; ++round) {
        const auto count = ::read(m_output.get(), buffer, sizeof buffer);
        if (count == -1 && errno == EINTR) continue;
        if (count == -1 && errno == EAGAIN) return;
        if (count <= 0) {
            m_output.reset();
            if (!m_partial_line.empty()) take_line(std::exchange(m_partial_line, {}));
            return;
        }
        take_text({buffer, static_cast<std::size_t>(count)});
    }
}

void HostProcess::take_text(std::string_view text) {
    while (!text.empty()) {
        const auto line_end = text.find('\n');
        const std::string_view piece = text.substr(0, line_end);
        m_partial_line += piece.substr(0, max_line - std::min(max_line, m_partial_line.size()));
        if (line_end == std::string_view::npos) return;
        take_line(std::exchange(m_partial_line, {}));
        text.remove_prefix(line_end + 1);
    }
}

void HostProcess::take_line(std::string line) {
    if (line.ends_with('\r')) line.pop_back();  // a host for Windows ends its lines so
    m_on_output(line);
    m_last_lines.push_back(std::move(line));
    if (m_last_lines.size() > kept_lines) m_last_lines.pop_front();
}

std::string HostProcess::last_output() const {
    std::string text;
    for (const std::string& line : m_last_lines)
        text += line + '\n';
    return text;
}

const std::string& HostProcess::end(std::chrono::milliseconds patience, const StopRequest& stop) {
    if (m_pid == -1) return m_end_description;
    const char* forced = nullptr;
    if (!wait_for_exit(patience, stop)) {
        forced = "was ended by the worker";
        signal_group(SIGTERM);
        if (!wait_for_exit(patience_after_sigterm, stop)) forced = "was killed by the worker";
    }
    reap(forced);
    return m_end_description;
}

bool HostProcess::wait_for_exit(std::chrono::milliseconds patience, const StopRequest& stop) {
    const Deadline deadline = deadline_in(patience);
    do {
        const auto ready = wait_readable({m_exit.get(), stop.immediate_fd(), m_output.get()}, deadline);
        if (ready == m_exit.get()) return true;
        if (!ready || ready == stop.immediate_fd()) return false;
        read_output();
    } while (Clock::now() < deadline);
    return false;
}

void HostProcess::signal_group(int signal) const {
    ::kill(-m_pid, signal);
}

/// Kills what is left of the group while the dead host still holds its number, and takes the host's status.
void HostProcess::reap(const char* forced) {
    signal_group(SIGKILL);
    siginfo_t info{};
    while (::waitid(P_PID, static_cast<id_t>(m_pid), &info, WEXITED) == -1 && errno == EINTR) {
    }
    m_pid = -1;
    m_end_description = forced != nullptr ? forced : describe_status(info);
    read_output();
}

}  // namespace corrivane::worker
