#pragma once

#include "net/simple_socket.h"
#include "render/job_state.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// One command of the worker, split into its fields and about to be run.
struct Command {
    JobState& job;
    quorvel::win32::simple_socket& socket;
    std::vector<std::string> fields;  ///< the name first; never empty

    std::size_t parameter_count() const { return fields.size() - 1; }
    /// Parameters are counted from 1, as the worker's error replies count them.
    const std::string& parameter(std::size_t number) const { return fields[number]; }

    void reply(std::string_view text) const { socket.send(std::string(text)); }
    void reply_error(const std::string& text) const { reply("ERROR: " + text); }
};

/// The whole text as a 32-bit signed number: an optional sign and digits, nothing else.
std::optional<int> parse_integer(const std::string& text);
/// The whole text as a finite number.
std::optional<float> parse_float(const std::string& text);

// Options (option_commands.cpp): they store values and answer nothing but errors.
void set_frame_number_base(Command& command);
void set_region_rendering(Command& command);
void set_jpeg_output(Command& command);
void set_fail_on_black_frames(Command& command);
void set_output_image_filename(Command& command);

// Jobs (job_commands.cpp).
void render_task(Command& command);
void start_job(Command& command);
void end_job(Command& command);

// Scripts (script_commands.cpp). An error in the script passes as an exception, which ends the session.
void execute_script(Command& command);
void execute_string_script(Command& command);
