#include "farm/command_handlers.h"
#include "net/farm_protocol.h"
#include "support/log.h"

#include <boost/lexical_cast/try_lexical_convert.hpp>
#include <boost/tokenizer.hpp>

#include <cmath>
#include <string_view>

namespace {

void ignore_continue(Command&) {
    connect_log.entry("Warning: ignoring CONTINUE statement");
}

/// A late answer to a progress request.
constexpr vocabulary_entry late_answer[] = {{corrivane::continue_word, ignore_continue}};

const vocabulary_entry* find_command(std::string_view name) {
    for (const auto table : {job_commands(), option_commands(), script_commands(),
                             std::span<const vocabulary_entry>(late_answer)}) {
        for (const vocabulary_entry& known : table)
            if (known.name == name) return &known;
    }
    return nullptr;
}

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
    if (const vocabulary_entry* known = find_command(command.fields.front())) return known->run(command);
    command.reply_error("Unexpected command \"" + command.fields.front() + "\" received.");
}
