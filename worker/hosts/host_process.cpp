#include "worker/hosts/host_process.h"

#include "worker/base/wait.h"

#include <fcntl.h>
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
constexpr std::chrono::milliseconds patience_when_stopping{500};
constexpr std::chrono::milliseconds patience_with_keeper{3000};

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

std::string describe_end(const ProgramEnd& end) {
    if (end.code == CLD_EXITED) return "exited with code " + std::to_string(end.status);
    const char* name = ::sigdescr_np(end.status);
    return "was ended by signal " + std::to_string(end.status) + " (" + (name ? name : "unknown") + ")";
}

}  // namespace

HostProcess::HostProcess(const std::string& program, const std::vector<std::string>& arguments,
                         std::string_view input, LineSink on_output, int nice)
    : m_on_output(std::move(on_output)) {
    Pipe output = make_pipe();
    const FileDescriptor input_end = readable_text(input);
    const std::vector<char*> vector = argument_vector(program, arguments);
    m_keeper = start_kept({vector.data(), input_end.get(), output.write_end.get(), nice});
    m_pid = m_keeper.program;
    m_output = std::move(output.read_end);
    ::fcntl(m_output.get(), F_SETFL, O_NONBLOCK);
}

HostProcess::~HostProcess() {
    if (m_keeper.pid != -1) reap("was killed");
}

ProcessTree HostProcess::processes() const {
    return descendants_of(m_keeper.pid);
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
    if (m_keeper.pid == -1) return m_end_description;
    const char* forced = nullptr;
    if (!wait_for_exit(patience, stop)) {
        forced = "was ended by the worker";
        signal_group(SIGTERM);
        const auto last_patience = stop.aborting() ? patience_when_stopping : patience_after_sigterm;
        if (!wait_for_exit(last_patience, stop)) forced = "was killed by the worker";
    }
    reap(forced);
    return m_end_description;
}

bool HostProcess::wait_for_exit(std::chrono::milliseconds patience, const StopRequest& stop) {
    const Deadline deadline = deadline_in(patience);
    do {
        const auto ready = wait_readable({exit_fd(), stop.immediate_fd(), m_output.get()}, deadline);
        if (ready == exit_fd()) return true;
        if (!ready || ready == stop.immediate_fd()) return false;
        read_output();
    } while (Clock::now() < deadline);
    return false;
}

void HostProcess::signal_group(int signal) const {
    ::kill(-m_pid, signal);
}

/// Lets the keeper kill what is left, waits for it, and takes the program's status.
void HostProcess::reap(const char* forced) {
    ProgramEnd end;
    const bool told =
        wait_readable({exit_fd()}, Clock::now()) && ::read(exit_fd(), &end, sizeof end) == sizeof end;
    m_keeper.leash.reset();
    // The keeper's end closes the report. It comes late where the system can't kill a process that waits for a disk.
    const Deadline deadline = deadline_in(patience_with_keeper);
    bool is_over = false;
    for (ProgramEnd late; !is_over && wait_readable({exit_fd()}, deadline);)
        is_over = ::read(exit_fd(), &late, sizeof late) <= 0;
    ::waitpid(m_keeper.pid, nullptr, is_over ? 0 : WNOHANG);
    m_keeper.pid = -1;
    m_end_description = forced != nullptr ? forced : told ? describe_end(end) : "was killed";
    read_output();
}

}  // namespace corrivane::worker
