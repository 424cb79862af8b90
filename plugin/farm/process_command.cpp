#include "farm/command_handlers.h"
#include "net/farm_protocol.h"
#include "support/log.h"

#include <boost/lexical_cast/try_lexical_convert.hpp>
#include <boost/tokenizer.hpp>

#include <cmath>
#include <string_view>

namespace {

namespace name = corrivane::command;

template <bool JobState::*Flag, bool Value>
void set_switch(Command& command) {
    command.job.*Flag = Value;
}

void ignore_continue(Command&) {
    connect_log.entry("Warning: ignoring CONTINUE statement");
}

struct vocabulary_entry {
    std::string_view name;
    void (*run)(Command& command);
};

/// In the order in which names are compared.
constexpr vocabulary_entry vocabulary[] = {
    {name::render_task, render_task},
    {name::start_job, start_job},
    {name::end_job, end_job},
    {name::frame_number_base, set_frame_number_base},
    {name::region_rendering, set_region_rendering},
    {name::use_jpeg_output, set_jpeg_output},
    {name::fail_on_black_frames, set_fail_on_black_frames},
    {name::execute_script, execute_script},
    {name::execute_string_script, execute_string_script},
    {name::output_image_filename, set_output_image_filename},
    {name::restart_renderer_mode, set_switch<&JobState::restartRendererMode, true>},
    {name::hide_frame_buffer, set_switch<&JobState::showFrameBuffer, false>},
    {name::ignore_missing_external_files, set_switch<&JobState::ignoreMissingExternalFiles, true>},
    {name::ignore_missing_uvws, set_switch<&JobState::ignoreMissingUVWs, true>},
    {name::ignore_missing_dlls, set_switch<&JobState::ignoreMissingDLLs, true>},
    {name::ignore_missing_xrefs, set_switch<&JobState::ignoreMissingXREFs, true>},
    {name::remove_padding, set_switch<&JobState::removePadding, true>},
    {name::alpha_split, set_switch<&JobState::alphaSplit, true>},
    {corrivane::continue_word, ignore_continue},
};

/// Fields are separated by commas and may be quoted; a backslash takes the special meaning off backslash,
/// quote and comma, and \n is a line feed. Throws boost::escaped_list_error at any other backslash.
std::vector<std::string> split_fields(const std::string& line) {
    const boost::tokenizer<boost::escaped_list_separator<char>> fields(
        line, boost::escaped_list_separator<char>('\\', ',', '"'));
    return {fields.begin(), fields.end()};
}

}  // namespace

std::optional<int> parse_integer(const std::string& text) {
    int value = 0;
    if (!boost::conversion::try_lexical_convert(text, value)) return std::nullopt;
    return value;
}

std::optional<float> parse_float(const std::string& text) {
    float value = 0;
    if (!boost::conversion::try_lexical_convert(text, value) || !std::isfinite(value)) return std::nullopt;
    return value;
}

void JobState::ProcessCommand(const std::string& commandLine, simple_socket& socket) {
    Command command{*this, socket, split_fields(commandLine)};
    // One entry, since each is a write to the disk that the worker waits for.
    std::string field_lines;
    for (const std::string& field : command.fields)
        field_lines.append(field).append("\n");
    connect_log.entry("Command: ", commandLine, "\n", field_lines);

    // A line without a character has no field, not even an empty name.
    if (command.fields.empty()) command.fields.emplace_back();
    for (const vocabulary_entry& known : vocabulary)
        if (known.name == command.fields.front()) return known.run(command);
    command.reply_error("Unexpected command \"" + command.fields.front() + "\" received.");
}
