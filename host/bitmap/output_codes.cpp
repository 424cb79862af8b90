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
        case EDQUOT:
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

}  // namespace corrivane::host
