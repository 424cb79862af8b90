#pragma once

#include <string>

/// Opens a plain file by this machine's path, for names that come from outside. `flags` are those of open(2).
/// The descriptor, which programs started later do not get; -1, and errno, when that fails. What is there but
/// is no plain file (a pipe, device, socket or folder) fails with EISDIR or ENXIO and is never waited for; it
/// is looked at after it is open, so nothing can take its place in between. Calls the system only.
int open_plain_file(const char* path, int flags);

/// What went wrong, in the system's words, for an errno that open_plain_file left.
std::string plain_file_error(int error_number);

/// Gives standard input, output and error that a program was started without to the null device, so that no
/// file or connection opened later takes their numbers, and with them what is printed.
void fill_standard_descriptors();
