#pragma once

#include <stdexcept>
#include <string>

namespace corrivane::worker {

/// A text that cannot be read: the file and the reason.
class TextFileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The text of a plain file of this machine, at most 16 MiB. Throws TextFileError.
std::string read_text_file(const std::string& path);

/// The same of what comes on standard input.
std::string read_standard_input();

}  // namespace corrivane::worker
