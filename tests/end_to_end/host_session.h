#pragma once

#include "support/running_program.h"
#include "support/wire_peer.h"

#include <csignal>

namespace corrivane::test {

/// What differs between a host of this machine and one for Windows under Wine, which the environment variable
/// CORRIVANE_WINDOWS_HOST names the command of. Everything else is expected to be the same.
struct HostKind {
    bool on_windows;
    const char* path_start;  ///< of this machine's files in what the host says
    const char* line_end;    ///< of its text files and its output
    int many_faults;  ///< what a test may take the time for: Wine takes 200 ms to list modules 20 times
    /// What a host ends with that a fault ends: minus the signal, or on Windows the low byte of the exception's code.
    bool is_exit_code_of_fault(int code, int signal, int exception) const {
        // 32-bit Windows has one code for all faults of SSE.
        constexpr int of_sse = 0xB5;
        return on_windows ? code == exception || (signal == SIGFPE && code == of_sse) : code == -signal;
    }
};
const HostKind& host_kind();

/// The command that starts the host which is tested.
std::string host_program();

/// Text whose lines end as the host's do.
std::string as_written_by_host(std::string text);

/// A farm worker on bare sockets that drives one corrivane-host, whose drive C is a folder of its own. It has
/// nothing in common with the product's code, so what it receives is what the wire says.
class HostSession {
public:
    struct Options {
        std::string handshake = "QuillaneStartup";  ///< empty: say nothing
        bool product_log = true;                    ///< the product logs where it finds a folder for that
        /// A fault is to end the session. It abandons what the call owned, so the leak sanitizer's report at
        /// the host's end, which would change its exit code, is switched off.
        bool ends_by_fault = false;
    };

    HostSession();
    explicit HostSession(const Options& options);

    void send(std::string_view message) { m_peer.send(message); }
    void send_bytes(std::string_view bytes) { m_peer.send_bytes(bytes); }
    std::string receive() { return m_peer.receive(); }
    std::string receive_bytes(std::size_t count) { return m_peer.receive_bytes(count); }
    /// Sends a command and collects all that comes up to and including the reply that ends it, answering
    /// every progress request with `progress_answer`. Titles and progress are left out of the result.
    std::vector<std::string> run(std::string_view command, std::string_view progress_answer = "CONTINUE");
    /// Closes the connection and waits for the host: its exit code.
    int finish();

    std::string greeting() const { return m_greeting; }
    std::string token() const { return m_token; }
    std::vector<std::string> log_lines() const;
    std::filesystem::path drive_c() const { return m_folder.path() / "c"; }
    std::filesystem::path folder() const { return m_folder.path(); }
    RunningProgram& host() { return *m_host; }
    /// Titles and progress requests that `run` saw, in order.
    const std::vector<std::string>& progress() const { return m_progress; }

private:
    void start(const Options& options);
    std::filesystem::path log_folder() const { return drive_c() / "Quillane/logs"; }

    TemporaryFolder m_folder;
    WirePeer m_peer;
    std::string m_token;
    std::string m_greeting;
    std::vector<std::string> m_progress;
    std::optional<RunningProgram> m_host;
};

/// Runs corrivane-host to its end, with a folder as its drive C.
struct HostRun {
    HostRun(const std::filesystem::path& drive_c, const std::vector<std::string>& arguments);
    int exit_code = 0;
    std::string output;
};

/// A command field that may hold anything: quoted, with backslashes and quotes escaped.
std::string field(std::string_view text);

}  // namespace corrivane::test
