#include "detail/system_error.h"

#include <windows.h>

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <string_view>

namespace {

// Kept out of the dynamic model, whose first access on a thread allocates: filters set the last error.
[[gnu::tls_model("initial-exec")]] thread_local DWORD t_last_error = ERROR_SUCCESS;

bool is_directory(const char* path) {
    struct stat status;
    return stat(path, &status) == 0 && S_ISDIR(status.st_mode);
}

bool exists(const char* path) {
    struct stat status;
    return stat(path, &status) == 0;
}

bool parent_exists(const system_detail::MappedPath& path) {
    system_detail::MappedPath parent = path;
    while (parent.ends_in_separator())
        parent.text[--parent.length] = '\0';
    while (parent.length > 0 && !parent.ends_in_separator())
        parent.text[--parent.length] = '\0';
    return is_directory(parent.length == 0 ? "." : parent.text);
}

bool root_exists(const system_detail::MappedPath& path) {
    system_detail::MappedPath root = path;
    root.text[path.root_length] = '\0';
    return is_directory(root.text);
}

// A file's name followed by a separator.
bool is_file_named_as_folder(const system_detail::MappedPath& path) {
    if (!path.ends_in_separator()) return false;
    system_detail::MappedPath file = path;
    file.text[file.length - 1] = '\0';
    return exists(file.text);
}

}  // namespace

namespace win32_detail {

DWORD system_error(int error_number) {
    switch (error_number) {
        case 0:
            return ERROR_SUCCESS;
        case ENOENT:
            return ERROR_FILE_NOT_FOUND;
        case ENOTDIR:
            return ERROR_PATH_NOT_FOUND;
        case EMFILE:
        case ENFILE:
            return ERROR_TOO_MANY_OPEN_FILES;
        case EACCES:
        case EPERM:
        case EISDIR:
            return ERROR_ACCESS_DENIED;
        case EBADF:
            return ERROR_INVALID_HANDLE;
        case ENOMEM:
            return ERROR_NOT_ENOUGH_MEMORY;
        case EROFS:
            return ERROR_WRITE_PROTECT;
        case EBUSY:
        case ETXTBSY:
            return ERROR_SHARING_VIOLATION;
        case EINVAL:
            return ERROR_INVALID_PARAMETER;
        case ENOSPC:
        case EDQUOT:
            return ERROR_DISK_FULL;
        case ENOTEMPTY:
            return ERROR_DIR_NOT_EMPTY;
        case EEXIST:
            return ERROR_ALREADY_EXISTS;
        case ENAMETOOLONG:
            return ERROR_FILENAME_EXCED_RANGE;
        case EFBIG:
            return ERROR_FILE_TOO_LARGE;
        case EFAULT:
            return ERROR_NOACCESS;
        case EIO:
            return ERROR_IO_DEVICE;
        case ELOOP:
            return ERROR_CANT_RESOLVE_FILENAME;
        default:
            return ERROR_GEN_FAILURE;
    }
}

DWORD path_error(int error_number, const system_detail::MappedPath& path) {
    using system_detail::PathRoot;
    if (error_number != ENOENT && error_number != ENOTDIR) return system_error(error_number);
    if (path.root != PathRoot::None && !root_exists(path))
        return path.root == PathRoot::Share ? ERROR_BAD_NETPATH : ERROR_PATH_NOT_FOUND;
    if (error_number == ENOTDIR)
        return is_file_named_as_folder(path) ? ERROR_INVALID_NAME : ERROR_PATH_NOT_FOUND;
    return parent_exists(path) ? ERROR_FILE_NOT_FOUND : ERROR_PATH_NOT_FOUND;
}

}  // namespace win32_detail

DWORD GetLastError() {
    return t_last_error;
}

void SetLastError(DWORD error) {
    t_last_error = error;
}

DWORD FormatMessageA(DWORD flags, LPCVOID /*source*/, DWORD message, DWORD /*language*/, LPSTR buffer,
                     DWORD /*size*/, va_list* /*arguments*/) {
    constexpr DWORD wanted = FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_ALLOCATE_BUFFER;
    if ((flags & wanted) != wanted) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    char*& result = *reinterpret_cast<char**>(buffer);
    result = nullptr;
    const std::string_view text = win32_detail::error_text(message);
    if (text.empty()) {
        SetLastError(ERROR_MR_MID_NOT_FOUND);
        return 0;
    }
    constexpr std::string_view line_end = "\r\n";
    const std::size_t length = text.size() + line_end.size();
    result = static_cast<char*>(std::malloc(length + 1));
    if (result == nullptr) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return 0;
    }
    std::copy(line_end.begin(), line_end.end(), std::copy(text.begin(), text.end(), result));
    result[length] = '\0';
    return static_cast<DWORD>(length);
}

HLOCAL LocalFree(HLOCAL memory) {
    std::free(memory);
    return nullptr;
}
