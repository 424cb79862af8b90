#pragma once

#include <string>

namespace corrivane {

// Files that are going to be written. What fails is told by errno's numbers.

/// Opens a file for writing bytes that must not be there yet; -1, and errno. Programs started later do not get it.
int open_new_file(const std::string& path);
/// Writes all the bytes; 0, or why not.
int write_all(int file, const unsigned char* bytes, std::size_t count);
/// 0, or why what was written has not all arrived.
int close_file(int file);
/// Puts a file into the place of another, which may be there; 0, or why not.
int replace_file(const std::string& from, const std::string& to);

/// Why no file can be made in a folder: ENOTDIR, EACCES ...; 0 when one can.
int folder_fault(const std::string& folder);
/// Why what is there under a name cannot be replaced by a file: EISDIR, EACCES ...; 0 when it can, or nothing is there.
int replacement_fault(const std::string& path);

/// A full disk and a reader that goes away are errors of the calls that meet them from here on, not the end of the
/// process.
void keep_running_on_write_errors();

}  // namespace corrivane
