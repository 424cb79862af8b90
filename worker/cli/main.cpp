#include "worker/base/failures.h"
#include "worker/base/signal_watch.h"
#include "worker/cli/info_text.h"
#include "worker/cli/options.h"
#include "worker/events/event_stream.h"
#include "worker/hosts/describe_scene.h"
#include "worker/preflight/machine_checks.h"
#include "worker/preflight/prepare_job.h"
#include "worker/run/job_run.h"
#include "worker/run/script_run.h"
#include "worker/views/job_views.h"

#include <system/plain_files.h>

#include <sys/ioctl.h>
#include <unistd.h>

#include <csignal>
#include <iostream>

namespace {

using namespace corrivane::worker;

constexpr int failure_exit_code = 1;
constexpr int cannot_start_exit_code = 3;

/// As shells report a program that was ended by the signal.
int stopped_exit_code(const StopRequest& stop) {
    return 128 + stop.signal();
}

TerminalSize terminal_size() {
    winsize size{};
    if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0 || size.ws_row == 0) return {};
    return {size.ws_col, size.ws_row};
}

const char* stop_text(StopRequest::Level level) {
    switch (level) {
        case StopRequest::Level::finishing:
            return "Stopping when the running frames are done; press Ctrl-C to stop them.";
        case StopRequest::Level::orderly:
            return "Stopping; press Ctrl-C again to kill the hosts.";
        default:
            return "Killing the hosts.";
    }
}

int run(const Job& job, const RunSettings& settings) {
    JobViews views(settings.views, {std::cout, ::isatty(STDOUT_FILENO) != 0, terminal_size});
    StopRequest stop;
    const JobReport report = [&] {
        EventStream events({&views});
        const SignalWatch signals(stop, settings.finish_frames, [&](StopRequest::Level level) {
            events.emit(event::Message{.text = stop_text(level)});
        });
        return run_job(job, settings, stop, events);
    }();
    std::cout << views.summary(report) << std::flush;
    if (report.stopped) return stopped_exit_code(stop);
    if (report.could_not_start) return cannot_start_exit_code;
    return report.success() ? 0 : failure_exit_code;
}

int run(const ScriptRun& script, const RunSettings& settings) {
    StopRequest stop;
    const SignalWatch signals(stop, false,
                              [](StopRequest::Level level) { std::cerr << stop_text(level) << std::endl; });
    try {
        const bool success =
            run_script(script, settings.host, settings.limits, settings.show_host_output, stop, std::cout);
        return success ? 0 : failure_exit_code;
    } catch (const Stopped& stopped) {
        std::cout << stopped.what() << '\n';
        return stopped_exit_code(stop);
    }
}

/// Renders a job unless a look at it says that it cannot work.
int look_and_run(const JobSettings& settings) {
    PreparedJob prepared = prepare_job(settings, MissingFolders::make);
    std::cerr << findings_text(prepared.findings, Finding::Severity::warning);
    if (has_refusal(prepared.findings)) return cannot_start_exit_code;
    prepared.settings.run.space_lacking_after = [&prepared](int frame) {
        return prepared.space_lacking_after(frame);
    };
    return run(prepared.settings.job, prepared.settings.run);
}

int tell_scene(const Invocation& invocation) {
    const JobSettings& settings = invocation.settings;
    try {
        const SceneDescription scene =
            describe_scene(settings.run.host, settings.run.limits, settings.job.scene);
        std::cout << (invocation.as_json ? scene.json : info_text(scene));
        return 0;
    } catch (const std::runtime_error& error) {
        std::cerr << "corrivane-worker: " << settings.job.scene << ": " << error.what() << '\n';
        return cannot_start_exit_code;
    }
}

/// Says what would stop hosts, and the job if there is one.
int examine(const Invocation& invocation) {
    const JobSettings& settings = invocation.settings;
    Findings findings = check_machine(settings.run);
    if (!settings.job.scene.empty()) {
        const Findings job_findings = prepare_job(settings, MissingFolders::leave).findings;
        findings.insert(findings.end(), job_findings.begin(), job_findings.end());
    }
    std::cout << (invocation.as_json ? findings_json(findings)
                                     : findings_text(findings, Finding::Severity::good));
    return has_refusal(findings) ? cannot_start_exit_code : 0;
}

int run(const Invocation& invocation) {
    try {
        switch (invocation.task) {
            case Invocation::Task::script:
                return run(invocation.script, invocation.settings.run);
            case Invocation::Task::info:
                return tell_scene(invocation);
            case Invocation::Task::doctor:
                return examine(invocation);
            case Invocation::Task::job:
                return look_and_run(invocation.settings);
        }
        return failure_exit_code;
    } catch (const std::exception& error) {
        std::cerr << "corrivane-worker: " << error.what() << '\n';
        return failure_exit_code;
    }
}

/// The exit code, which is no success where output was lost.
int with_output_written(int exit_code) {
    if (std::cout.flush()) return exit_code;
    std::cerr << "corrivane-worker: standard output could not be written\n";
    return exit_code == 0 ? failure_exit_code : exit_code;
}

}  // namespace

int main(int argument_count, char** arguments) {
    fill_standard_descriptors();
    std::signal(SIGPIPE, SIG_IGN);  // a reader of our output that goes away must not end the hosts' jobs
    const ParsedCommandLine command_line = parse_command_line(argument_count, arguments);
    return with_output_written(command_line.invocation ? run(*command_line.invocation)
                                                       : command_line.exit_code);
}
