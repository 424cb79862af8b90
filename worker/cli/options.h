#pragma once

#include "worker/settings/job_settings.h"

#include <optional>
#include <string>

namespace corrivane::worker {

/// What the worker was called to do.
struct Invocation {
    enum class Task {
        job,     // render and run
        script,  // script
        info,    // info: tell what the settings' scene holds
        doctor   // doctor: look whether hosts, and the job if it names a scene, would run
    };

    Task task = Task::job;
    JobSettings settings;
    ScriptRun script;
    bool as_json = false;
};

/// An invocation, or the exit code with which to leave at once: what there is to say (help, or what is wrong
/// with the command line or the job file) has been written then.
struct ParsedCommandLine {
    std::optional<Invocation> invocation;
    int exit_code = 0;
};

/// The exit code for a wrong command line or job file.
inline constexpr int usage_exit_code = 2;

/// Reads the command line, and the job file that it names. Also sets the process's drive map to what the
/// hosts will use, so that their paths can be found here.
ParsedCommandLine parse_command_line(int argument_count, const char* const* arguments);

}  // namespace corrivane::worker
