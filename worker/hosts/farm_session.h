#pragma once

#include "worker/base/stop_request.h"
#include "worker/hosts/host_connection.h"
#include "worker/job/job.h"
#include "worker/job/job_commands.h"
#include "worker/job/run_settings.h"

#include <chrono>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corrivane::worker {

/// What a host that says nothing was seen to do.
struct Quietness {
    std::chrono::milliseconds quiet_for{0};
    std::chrono::milliseconds cpu_time{0};  // used meanwhile, with all that it started
    std::uint64_t memory_bytes = 0;         // resident
    std::string state;                      // "stopped", "waiting for a disk", "working" or "waiting"
    std::string last_lines;                 // of its output
};

/// What a host tells of itself while it works on a command.
class SessionObserver {
public:
    virtual ~SessionObserver() = default;
    virtual void on_title(std::string_view title) = 0;
    /// 0 to 100, or -1 while the host doesn't know.
    virtual void on_progress(double percent) = 0;
    /// A text that a script logs: one or more lines.
    virtual void on_log(std::string_view text) = 0;
    /// The program runs, and has not connected yet.
    virtual void on_start(int /*process_id*/) {}
    /// Nothing has come from it for so long as it is to be told, and again after twice that time.
    virtual void on_quiet(const Quietness& /*what*/) {}
};

/// How a command went that the plug-in answered.
struct CommandResult {
    bool success = false;
    std::string error;          // the plug-in's error texts in full, without the "ERROR: " before each
    std::string text;           // what a success reply carried
    bool session_over = false;  // the plug-in closed the session after its error
    /// So many progress requests were read at once that the plug-in can't have had its answers in time: this process
    /// did not run for a while. A failed frame may be the plug-in's reaction.
    bool answers_missed = false;
};

/// The dialogue with one plug-in over an accepted connection: commands and their replies, and the requests
/// that the plug-in makes in between, which are answered from the job.
///
/// The order of calls: handshake; for a job start_job, render as often as wanted, end_job; run_script at any
/// time. Every call may throw HostFailure (the host is to be ended then) and Stopped. Once a stop is
/// requested, the next progress report is answered with a word that ends the render or tells the script so.
class FarmSession {
public:
    /// The references stay in use. `job` may be an empty one for scripts alone.
    FarmSession(HostConnection& connection, const Job& job, SessionObserver& observer,
                const StopRequest& stop, const TimeLimits& limits);

    /// Exchanges the handshake and returns the plug-in's greeting, its version and build.
    std::string handshake();

    /// Sends the options, starts the job and runs its pre-script. Throws JobFailure with the plug-in's
    /// error texts.
    void start_job(const JobCommands& commands);

    /// Renders a frame.
    CommandResult render(int frame);

    /// The names of the files that the last render wrote; nothing, and the reason in the log, when the
    /// plug-in can't tell.
    std::optional<std::vector<std::string>> written_files(int frame);

    /// What frames are saved as, in the lines that the host's `standin.outputs` gives; nothing, without a word, where
    /// the host has no such function.
    std::optional<std::string> output_lines(int frame);

    /// The output file name of the scene that is loaded, without a frame number; nothing, and the reason in
    /// the log, when the plug-in can't tell.
    std::optional<std::string> scene_output(int frame);

    /// Runs a script command, as script_command makes it.
    CommandResult run_script(const std::string& script_command);

    /// Ends the job; the error texts of the result are warnings, for the job has ended in any case.
    CommandResult end_job();

private:
    using IsLastError = bool (*)(std::string_view reply);

    CommandResult run(const std::string& command, std::chrono::milliseconds limit, IsLastError is_last_error);
    CommandResult collect_replies(Deadline deadline, IsLastError is_last_error);
    CommandResult run_started(const std::string& command, IsLastError is_last_error);
    std::string next_reply(Deadline deadline);
    bool handle_request(std::string_view message);
    void answer_progress(std::string_view argument);
    void note_progress();
    void run_pre_script(const std::string& command);
    std::optional<std::string> ask(int frame, const char* script, const std::string& what);

    HostConnection& m_connection;
    const Job& m_job;
    SessionObserver& m_observer;
    const StopRequest& m_stop;
    TimeLimits m_limits;
    /// When the last progress requests were read, the oldest first.
    std::deque<Deadline> m_progress_times;
    bool m_answers_missed = false;
};

}  // namespace corrivane::worker
