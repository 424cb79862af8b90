#pragma once

#include <windows.h>

#include <string>

/// Paths are 8-bit Windows paths, local (C:\folder\file) or on the network (\\server\share\file).

/// The system's text for a Win32 error code, without trailing line breaks; "" when it has none.
std::string get_system_error_message(DWORD code);
/// The same for the calling thread's last error.
std::string get_last_error_message();

/// Whether there is an entry of that name that is no directory. Throws std::runtime_error when the system
/// can't tell, for instance because it denies access.
bool file_exists(const std::string& path);

/// Whether the path names a directory; a path that ends in a separator names nothing.
bool directory_exists(const std::string& path);

/// Creates a directory and all its missing ancestors. Refusals of the system are passed over: see what exists
/// then. Throws only where the path itself is malformed, as get_directory_from_path does.
void create_directory_tree(std::string path);
