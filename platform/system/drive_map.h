// Which folders of this machine stand for Windows' drives and for the network. The map is process-wide: fill
// it before other threads use paths. All calls of windows.h that take a path go through native_path.
//
// On Windows drives and shares are the system's own: there is no map to fill, and a path leads where it says.
//
//   C:\a\b            a/b in the folder of drive C; letters of either case; / and \ are equal
//   \\server\name\x   server/name/x in the network folder
//   anything else     taken as it stands, with / for \ (so this machine's own paths work)
//
// ".." on a drive or a share is resolved in the text, as Windows does, and never climbs above its root.
// Symbolic links are followed wherever they lead: whoever may make one inside a drive's folder may also
// choose the folder. Names below a drive's folder are case-sensitive, unlike on Windows.
#pragma once

#include <windows.h>

#include <string>
#include <string_view>

// Whether folders stand for drives, as everywhere but on Windows. There, map_drive, map_network and
// map_folder_of_drive throw std::invalid_argument.
bool drives_are_mapped();

// Lets `folder` stand for the drive (a letter of either case); an empty folder takes the drive away. The
// folder need not exist; until it does, the drive is like one that is not there. Throws std::invalid_argument
// for another letter.
void map_drive(char letter, const std::string& folder);

// Lets `folder` stand for the network: it holds a folder for each server, which holds one for each share.
void map_network(const std::string& folder);

// Lets `folder` stand for one folder of a drive, `names`, as those who share the drive and want a folder of their
// own need it: what lies below C:\names lies in `folder`. Names are compared in either case of letters, and without
// resolving ".." first. A second call replaces what the first one said.
void map_folder_of_drive(char letter, const std::string& names, const std::string& folder);

// Forgets all drives and the network.
void clear_drive_map();

struct NativePath {
    // Empty when there is an error.
    std::string path;
    // ERROR_PATH_NOT_FOUND: an empty path, or a drive that is not mapped.
    // ERROR_BAD_NETPATH: no network folder, or no share named.
    // ERROR_INVALID_NAME: on a drive or share, a name that Windows could not store.
    // ERROR_FILENAME_EXCED_RANGE: longer than this machine can open.
    DWORD error = ERROR_SUCCESS;
    // The drive's or share's folder (on Windows its root) that `path` lies in; empty for the others.
    std::string root = {};
};

// This machine's path for a Windows path, with slashes. Does not look whether anything is there.
NativePath native_path(std::string_view windows_path);

// The same for a file that is going to be written. ERROR_BAD_NETPATH also for a name with nothing below
// \\server\share, which would become a file among the servers' folders, and for a share whose folder is
// not there.
NativePath native_output_path(std::string_view windows_path);

// An error of these two in words, without the path: "no folder of this machine stands for that drive".
std::string_view path_fault(std::string_view windows_path, DWORD error);
