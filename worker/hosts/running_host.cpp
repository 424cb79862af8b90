#include "worker/hosts/running_host.h"

#include "worker/base/failures.h"

#include <cstdint>
#include <random>
#include <utility>

namespace corrivane::worker {
namespace {

constexpr std::chrono::milliseconds patience{10000};
/// A host that failed gets only the time to write its last words.
constexpr std::chrono::milliseconds patience_after_failure{1000};
/// A host that finds fault without end fills no memory.
constexpr std::size_t max_log_entries = 200;

/// 128 random bits in hexadecimal digits, so that no other program of this machine passes for the host.
std::string make_token() {
    constexpr std::string_view digits = "0123456789abcdef";
    std::random_device random;
    std::string token;
    for (int i = 0; i < 4; ++i)
        for (std::uint32_t bits = random(), digit = 0; digit < 8; ++digit, bits >>= 4)
            token += digits[bits & 15];
    return token;
}

std::vector<std::string> host_arguments(const HostSettings& settings) {
    std::vector<std::string> arguments = drive_arguments(settings);
    if (!settings.log_folder.empty())
        arguments.insert(arguments.end(), {"--log-folder", settings.log_folder});
    if (settings.threads > 0)
        arguments.insert(arguments.end(), {"--threads", std::to_string(settings.threads)});
    if (!settings.library.empty()) arguments.insert(arguments.end(), {"--library", settings.library});
    arguments.emplace_back("-");
    return arguments;
}

/// The script for the host's standard input: what it says of the token is for nobody else, and everybody on the
/// machine can read a command line.
std::string host_script(int port, const std::string& token) {
    return "print (QuillaneUtil.RunCorrivaneDaemon " + std::to_string(port) + " \"" + token + "\")\n";
}

std::string describe_state(char state) {
    switch (state) {
        case 'T':
            return "stopped";
        case 'D':
            return "waiting for a disk";
        case 'R':
            return "working";
        default:
            return "waiting";
    }
}

}  // namespace

std::vector<std::string> drive_arguments(const HostSettings& settings) {
    std::vector<std::string> arguments;
    for (const auto& [letter, folder] : settings.drives)
        arguments.insert(arguments.end(), {"--drive", letter + ('=' + folder)});
    if (!settings.network.empty()) arguments.insert(arguments.end(), {"--network", settings.network});
    return arguments;
}

RunningHost::RunningHost(const HostSettings& settings, const Job& job, SessionObserver& observer,
                         const StopRequest& stop, const TimeLimits& limits, HostProcess::LineSink on_output)
    : m_stop(stop),
      m_connection(stop),
      m_token(make_token()),
      m_process(
          settings.program, host_arguments(settings), host_script(m_connection.port(), m_token),
          [this, on_output = std::move(on_output)](std::string_view line) {
              note_log_entry(line);
              on_output(line);
          },
          settings.nice),
      m_quiet(limits.quiet, quiet_actions(observer)),
      m_session(m_connection, job, observer, stop, limits) {
    observer.on_start(m_process.pid());
    m_connection.watch(m_process);
    m_connection.watch_quiet(m_quiet);
    try {
        m_connection.accept(m_token, deadline_in(limits.start));
        m_greeting = m_session.handshake();
    } catch (const HostFailure& failure) {
        throw HostFailure(end_after(failure.what()));
    }
}

QuietWatch::Actions RunningHost::quiet_actions(SessionObserver& observer) {
    const auto on_silence = [this] { m_cpu_time_at_silence = m_process.processes().cpu_time; };
    const auto on_quiet = [this, &observer](std::chrono::milliseconds quiet_for) {
        const ProcessTree processes = m_process.processes();
        observer.on_quiet({quiet_for, processes.cpu_time - m_cpu_time_at_silence, processes.memory_bytes,
                           describe_state(processes.state), m_process.last_output()});
    };
    return {on_silence, on_quiet};
}

void RunningHost::note_log_entry(std::string_view line) {
    const bool is_entry = line.starts_with("[error] ") || line.starts_with("[warning] ");
    if (is_entry && m_log_entries.size() < max_log_entries) m_log_entries.emplace_back(line);
}

std::vector<std::string> RunningHost::take_log_entries() {
    m_process.read_output();
    return std::exchange(m_log_entries, {});
}

void RunningHost::end() {
    m_connection.close();
    m_process.end(m_stop.aborting() ? patience_after_failure : patience, m_stop);
}

std::string RunningHost::end_after(const std::string& reason) {
    m_connection.close();
    std::string report = reason + "; it " + m_process.end(patience_after_failure, m_stop);
    const std::string output = m_process.last_output();
    if (!output.empty()) report += "\nlast output of the host:\n" + output;
    return report;
}

}  // namespace corrivane::worker
