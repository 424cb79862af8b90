#pragma once

#include "net/simple_socket.h"
#include "render/job_state.h"

#include <optional>
#include <span>
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

/// A command's name and what it does.
struct vocabulary_entry {
    std::string_view name;
    void (*run)(Command& command);
};

// The commands, a table in the file of each subject. A name stands in one of them only.
std::span<const vocabulary_entry> job_commands();     ///< start, render, end
std::span<const vocabulary_entry> option_commands();  ///< store values and answer nothing but errors
/// Run MAXScript. An error in the script passes as an exception, which ends the session.
std::span<const vocabulary_entry> script_commands();
