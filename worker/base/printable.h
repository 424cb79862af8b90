#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace corrivane::worker {

/// A text from outside, made fit for one line of a terminal: control characters, which could move the cursor
/// or worse, become question marks, line breaks and tabs become blanks, and those at the end go.
std::string printable(std::string_view text);

/// The same line by line.
std::vector<std::string> printable_lines(std::string_view text);

}  // namespace corrivane::worker
