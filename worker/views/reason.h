#pragma once

#include <string>
#include <string_view>

namespace corrivane::worker {

/// A line of an error with the numbers that hosts give put in words: "WSAError code 10054" is "connection reset by
/// the host". What is not known stays as it is.
std::string in_words(std::string_view line);

/// Why something failed, in one printable line: the first line of the error in words, and what the host itself
/// logged as its reason (the lines below that begin with [error]).
std::string short_reason(std::string_view error);

}  // namespace corrivane::worker
