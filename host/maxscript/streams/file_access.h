#pragma once

#include "maxscript/streams/text_reader.h"

#include <cstdio>
#include <optional>
#include <string>

namespace corrivane::host {

/// False makes check_file_access throw, and every file that is opened fail.
void set_file_access(bool allowed);
/// Throws a MAXScript error when scripts may not use files.
void check_file_access();

/// This machine's path for a Windows path; empty when there is none.
std::string machine_path(const std::string& windows_path);

/// Reads a whole file, named by a Windows path; false, and why, when that fails. What begins with a
/// byte-order mark becomes UTF-8 without one.
bool read_file(const std::string& name, std::string& failure, TextReader& reader);

/// How a file is opened: one of C's modes.
struct FileMode {
    bool reads = false;
    bool writes = false;
    bool appends = false;  ///< whatever is written goes to the end
    bool empties = false;  ///< what the file held is lost

    /// Nothing for a text that is none of "r", "w", "a", with or without "+" and "t" or "b".
    static std::optional<FileMode> from(const std::string& text);
};

/// Opens a file, named by a Windows path, for writing; null, and why, when that fails.
std::FILE* open_for_writing(const std::string& name, const FileMode& mode, std::string& failure);

/// The same for this machine's path; null, and errno for plain_file_error, when that fails.
std::FILE* open_machine_file_for_writing(const std::string& path, bool appends);

}  // namespace corrivane::host
