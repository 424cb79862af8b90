#pragma once

#include "maxscript/streams/text_reader.h"

#include <cstdio>
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

/// Opens a file, named by a Windows path, with the mode "w" or "a"; null, and why, when that fails.
std::FILE* open_for_writing(const std::string& name, const std::string& mode, std::string& failure);

/// The same for this machine's path; null, and errno for plain_file_error, when that fails.
std::FILE* open_machine_file_for_writing(const std::string& path, bool appends);

}  // namespace corrivane::host
