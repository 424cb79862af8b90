#pragma once

#include <max/bitmap.h>
#include <windows.h>

namespace corrivane::host {

// What OpenOutput and Write answer besides BMMRES_SUCCESS. Each is the number of the Win32 error that says
// the same, so that the "error code" in a farm's log can be looked up.

/// The folder of the file is not there.
constexpr BMMRES output_folder_missing = ERROR_PATH_NOT_FOUND;            // 3
constexpr BMMRES output_too_many_open_files = ERROR_TOO_MANY_OPEN_FILES;  // 4
/// No permission to write in the folder, or to replace the file; or what has the file's name is no file.
constexpr BMMRES output_access_denied = ERROR_ACCESS_DENIED;  // 5
/// Write without an OpenOutput that succeeded.
constexpr BMMRES output_not_open = ERROR_INVALID_HANDLE;          // 6
constexpr BMMRES output_out_of_memory = ERROR_NOT_ENOUGH_MEMORY;  // 8
/// The name begins with a drive that is not mapped.
constexpr BMMRES output_drive_missing = 15;  // ERROR_INVALID_DRIVE
/// The file system is read-only.
constexpr BMMRES output_write_protected = ERROR_WRITE_PROTECT;  // 19
/// The image library could not make the file's contents.
constexpr BMMRES output_encoding_failed = ERROR_GEN_FAILURE;  // 31
/// No image format belongs to the name's extension, or there is no extension.
constexpr BMMRES output_unknown_format = 50;  // ERROR_NOT_SUPPORTED
/// No network folder is mapped, the name has no share or nothing below it, or the share's folder is
/// not there.
constexpr BMMRES output_share_missing = ERROR_BAD_NETPATH;  // 53
/// The image is larger than the format allows: a JPEG side above 65500 pixels; BMP or TGA of 4 GiB.
constexpr BMMRES output_image_too_large = ERROR_INVALID_PARAMETER;  // 87
/// No space left on the disk, or the user's quota is used up.
constexpr BMMRES output_disk_full = ERROR_DISK_FULL;  // 112
/// An empty name, or one that Windows could not store.
constexpr BMMRES output_invalid_name = ERROR_INVALID_NAME;  // 123
/// corrivane-imageio.so cannot be loaded.
constexpr BMMRES output_no_image_module = ERROR_MOD_NOT_FOUND;       // 126
constexpr BMMRES output_name_too_long = ERROR_FILENAME_EXCED_RANGE;  // 206
/// Larger than a file may become, by the system's limit for this process or by the file system.
constexpr BMMRES output_file_too_large = ERROR_FILE_TOO_LARGE;  // 223
/// What the name calls a folder is not one.
constexpr BMMRES output_not_a_folder = ERROR_DIRECTORY;  // 267
/// A folder has the file's name.
constexpr BMMRES output_is_a_folder = 336;  // ERROR_DIRECTORY_NOT_SUPPORTED
/// Any other failure of the disk.
constexpr BMMRES output_disk_error = ERROR_IO_DEVICE;  // 1117

/// The code for an errno value of a file call.
BMMRES output_code(int errno_value);

/// What one of these codes means: "no image format for this extension".
const char* output_text(BMMRES code);

}  // namespace corrivane::host
