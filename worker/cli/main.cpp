#include "worker/base/failures.h"
#include "worker/base/signal_watch.h"
#include "worker/cli/options.h"
#include "worker/events/event_stream.h"
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

int run(const Invocation& invocation) {
    try {
        return invocation.job ? run(*invocation.job, invocation.settings)
                              : run(*invocation.script, invocation.settings);
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
