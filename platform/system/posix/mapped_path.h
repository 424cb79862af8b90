// native_path without allocation, for the calls that a structured-exception filter makes.
#pragma once

#include <windows.h>

#include <climits>
#include <cstddef>
#include <string_view>

namespace system_detail {

enum class PathRoot { None, Drive, Share };

// One path of this machine, made in place from a Windows path.
struct MappedPath {
    char text[PATH_MAX];
    std::size_t length = 0;
    PathRoot root = PathRoot::None;
    std::size_t root_length = 0;  // of the drive's or share's folder at the front of `text`

    bool is_root() const { return root != PathRoot::None && length == root_length; }
    bool ends_in_separator() const { return length > 0 && text[length - 1] == '/'; }

    // Adds to the end and keeps the terminator. False when there is no room.
    bool append(std::string_view more);
    // Adds a separator if there is none, then the name.
    bool append_name(std::string_view name);
};

// Fills `mapped` and returns ERROR_SUCCESS, or the error that native_path gives. A separator at the end of
// the Windows path is kept, save that of a root.
DWORD map_path(std::string_view windows_path, MappedPath& mapped);

}  // namespace system_detail
