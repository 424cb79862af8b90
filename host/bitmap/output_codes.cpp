#include "bitmap/output_codes.h"

#include <cerrno>

namespace corrivane::host {

BMMRES output_code(int errno_value) {
    switch (errno_value) {
        case ENOENT:
            return output_folder_missing;
        case EMFILE:
        case ENFILE:
            return output_too_many_open_files;
        case EACCES:
        case EPERM:
            return output_access_denied;
        case ENOMEM:
            return output_out_of_memory;
        case EROFS:
            return output_write_protected;
        case ENOSPC:
            return output_disk_full;
        case ENAMETOOLONG:
            return output_name_too_long;
        case EFBIG:
            return output_file_too_large;
        case ENOTDIR:
            return output_not_a_folder;
        case EISDIR:
            return output_is_a_folder;
        default:
            return output_disk_error;
    }
}

const char* output_text(BMMRES code) {
    switch (code) {
        case output_folder_missing:
            return "no such folder";
        case output_too_many_open_files:
            return "too many open files";
        case output_access_denied:
            return "no permission, or no file that can be replaced";
        case output_not_open:
            return "the file has not been opened";
        case output_out_of_memory:
            return "out of memory";
        case output_drive_missing:
            return "no such drive";
        case output_write_protected:
            return "the file system is read-only";
        case output_encoding_failed:
            return "the image library failed";
        case output_unknown_format:
            return "no image format for this extension";
        case output_share_missing:
            return "no such share";
        case output_image_too_large:
            return "the image is too large for the format";
        case output_disk_full:
            return "no space left";
        case output_invalid_name:
            return "no name that Windows could store";
        case output_no_image_module:
            return "corrivane-imageio.so cannot be loaded";
        case output_name_too_long:
            return "the name is too long";
        case output_file_too_large:
            return "the file would be larger than files may become";
        case output_not_a_folder:
            return "what the name calls a folder is a file";
        case output_is_a_folder:
            return "a folder has that name";
        default:
            return "the disk failed";
    }
}

}  // namespace corrivane::host
