#pragma once

#include "worker/base/file_descriptor.h"
#include "worker/base/processes.h"
#include "worker/base/stop_request.h"
#include "worker/hosts/keeper.h"

#include <sys/types.h>

#include <chrono>
#include <deque>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace corrivane::worker {

/// A host program under the worker's care. The host has a process group of its own, so that the terminal's
/// Ctrl-C does not reach it, a short text on its standard input, and its output goes to the worker line by line.
///
/// Neither it nor anything that it started, in whatever session, outlives this object or the worker: a keeper sees
/// to that, also when the worker is killed.
class HostProcess {
public:
    using LineSink = std::function<void(std::string_view)>;

    /// Starts the program with `input`, at most 4096 bytes, on its standard input. `on_output` gets each line of
    /// the host's output, from the calls below, on their threads. `nice` is added to the worker's priority. Throws std::system_error when the program
    /// cannot be started; its text names the program.
    HostProcess(const std::string& program, const std::vector<std::string>& arguments, std::string_view input,
                LineSink on_output, int nice = 0);

    /// Kills the host if it still runs.
    ~HostProcess();
    HostProcess(const HostProcess&) = delete;
    HostProcess& operator=(const HostProcess&) = delete;

    /// The program's process, and all that it and those that it started are.
    pid_t pid() const { return m_pid; }
    ProcessTree processes() const;

    /// Readable once the host has ended.
    int exit_fd() const { return m_keeper.report.get(); }
    /// Readable when the host has written something, or has closed its output; -1 after the latter
    /// was noticed.
    int output_fd() const { return m_output.get(); }

    /// Takes over what the host has written so far. Does not wait.
    void read_output();

    /// Waits for the host to end of itself; after `patience`, or at once on an immediate stop, asks it to
    /// (SIGTERM) and then kills it, with everything that it started. Returns how it ended,
    /// such as "exited with code 1" or "was ended by signal 11 (Segmentation fault)". Repeated calls return
    /// the same.
    const std::string& end(std::chrono::milliseconds patience, const StopRequest& stop);

    /// The host's last lines of output, each ended by a line feed.
    std::string last_output() const;

private:
    bool wait_for_exit(std::chrono::milliseconds patience, const StopRequest& stop);
    void signal_group(int signal) const;
    void reap(const char* forced);
    void take_text(std::string_view text);
    void take_line(std::string line);

    LineSink m_on_output;
    Keeper m_keeper;  // its pid is -1 once it has ended
    pid_t m_pid = -1;
    FileDescriptor m_output;
    std::string m_partial_line;
    std::deque<std::string> m_last_lines;
    std::string m_end_description;
};

}  // namespace corrivane::worker
