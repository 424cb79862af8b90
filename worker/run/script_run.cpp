#include "worker/run/script_run.h"

#include "worker/base/failures.h"
#include "worker/base/printable.h"
#include "worker/hosts/running_host.h"
#include "worker/job/job_commands.h"

namespace corrivane::worker {
namespace {

/// Writes a script's lines as they come.
class ScriptObserver : public SessionObserver {
public:
    explicit ScriptObserver(std::ostream& out) : m_out(out) {}

    void on_title(std::string_view title) override { m_out << "title: " << printable(title) << std::endl; }
    void on_progress(double) override {}
    void on_log(std::string_view text) override {
        for (const std::string& line : printable_lines(text))
            m_out << line << std::endl;
    }

private:
    std::ostream& m_out;
};

}  // namespace

bool run_script(const ScriptRun& script, const HostSettings& host, const TimeLimits& limits,
                bool show_host_output, const StopRequest& stop, std::ostream& out) {
    const std::string command = script_command(script.frame, script.file, script.set_time);
    const Job no_job;
    ScriptObserver observer(out);
    RunningHost running(host, no_job, observer, stop, limits, [&](std::string_view line) {
        if (show_host_output) observer.on_log(line);
    });
    CommandResult result;
    try {
        result = running.session().run_script(command);
    } catch (const HostFailure& failure) {
        const std::string reason = running.end_after(failure.what());
        if (stop.requested()) throw Stopped();
        throw HostFailure(reason);
    }
    running.end();
    observer.on_log(result.success ? "The script succeeded." : "The script failed: " + result.error);
    if (!result.success && stop.requested()) throw Stopped();  // it failed because it was told to
    return result.success;
}

}  // namespace corrivane::worker
