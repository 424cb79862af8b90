#pragma once

#include "worker/hosts/farm_session.h"
#include "worker/hosts/host_connection.h"
#include "worker/hosts/host_process.h"
#include "worker/job/run_settings.h"

#include <string>
#include <string_view>
#include <vector>

namespace corrivane::worker {

/// The options that give a host its drives and network.
std::vector<std::string> drive_arguments(const HostSettings& settings);

/// A host that was started, has connected with its token and has greeted. Belongs to the thread that made it.
class RunningHost {
public:
    /// `job`, `observer`, `stop` and `limits` stay in use. Throws std::system_error when the program can't be
    /// started, HostFailure when it does not come up, Stopped when the user wants to stop before it has.
    RunningHost(const HostSettings& settings, const Job& job, SessionObserver& observer,
                const StopRequest& stop, const TimeLimits& limits, HostProcess::LineSink on_output);

    FarmSession& session() { return m_session; }
    const HostProcess& process() const { return m_process; }
    const std::string& greeting() const { return m_greeting; }

    /// The errors and warnings that the host has printed since the last call, or since its start: its lines
    /// that begin with [error] or [warning]. What it printed before its last reply is among them.
    std::vector<std::string> take_log_entries();

    /// Ends the host: its session by closing the connection, then the program, by force where it does not
    /// end itself.
    void end();

    /// How the program ended, after that.
    const std::string& how_it_ended() { return m_process.end({}, m_stop); }

    /// Ends a host that failed. Returns the reason with what became of the program and its last lines
    /// of output.
    std::string end_after(const std::string& reason);

private:
    void note_log_entry(std::string_view line);
    QuietWatch::Actions quiet_actions(SessionObserver& observer);

    const StopRequest& m_stop;
    HostConnection m_connection;
    std::string m_token;
    std::vector<std::string> m_log_entries;
    HostProcess m_process;
    std::chrono::milliseconds m_cpu_time_at_silence{0};
    QuietWatch m_quiet;
    FarmSession m_session;
    std::string m_greeting;
};

}  // namespace corrivane::worker
