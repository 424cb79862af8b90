#pragma once

#include "worker/job/job.h"

#include <optional>
#include <string>
#include <vector>

namespace corrivane::worker {

/// The command lines of a job, in the order in which they are sent. StartJob resets the options and reads the
/// ignore-missing switches, so these go before it and the others after it.
struct JobCommands {
    std::vector<std::string> before_start;
    std::string start;
    std::vector<std::string> after_start;
    /// A script text that gives the render elements their outputs; its value is a string.
    std::optional<std::string> element_outputs;
    std::optional<std::string> pre_script;
    std::optional<std::string> post_script;
};

std::string render_command(int frame);

/// Runs a script file with `frame` as the current frame; with `set_time` the scene is moved to its
/// time first.
std::string script_command(int frame, const std::string& file, bool set_time);

/// Runs a script text; its value must be a string.
std::string script_text_command(int frame, const std::string& script);

/// MAXScript that gives the scene's render elements these output names, by their index; an empty name leaves an
/// element as it is. Empty where there is nothing to do.
std::string element_outputs_script(const std::vector<std::string>& names);

}  // namespace corrivane::worker
