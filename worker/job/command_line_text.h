#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace corrivane::worker {

/// One field of a command line as the plug-in's splitter wants it: backslashes and double quotes escaped with
/// a backslash, line feeds written as \n, and the whole in double quotes when it holds a comma. The splitter
/// gives back exactly `text`. Throws std::invalid_argument for a text with a NUL, which would end the text on
/// the other side.
std::string command_field(std::string_view text);

/// A command line: the name and its parameters, separated by commas. Throws std::invalid_argument as
/// command_field does, and when the line is longer than one message can be.
std::string command_line(std::string_view name, const std::vector<std::string>& parameters = {});

}  // namespace corrivane::worker
