#include "os/output_files.h"

#include <windows.h>

#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>

namespace corrivane {

namespace {

int error_number(DWORD error) {
    switch (error) {
        case ERROR_FILE_NOT_FOUND:
        case ERROR_PATH_NOT_FOUND:
        case ERROR_BAD_NETPATH:
            return ENOENT;
        case ERROR_ACCESS_DENIED:
        case ERROR_SHARING_VIOLATION:
            return EACCES;
        case ERROR_WRITE_PROTECT:
            return EROFS;
        case ERROR_DISK_FULL:
            return ENOSPC;
        case ERROR_FILENAME_EXCED_RANGE:
            return ENAMETOOLONG;
        case ERROR_DIRECTORY:
            return ENOTDIR;
        default:
            return EIO;
    }
}

}  // namespace

int open_new_file(const std::string& path) {
    return _open(path.c_str(), _O_WRONLY | _O_CREAT | _O_EXCL | _O_BINARY | _O_NOINHERIT,
                 _S_IREAD | _S_IWRITE);
}

int write_all(int file, const unsigned char* bytes, std::size_t count) {
    constexpr std::size_t most_at_once = std::size_t{1} << 30;
    while (count > 0) {
        const int written = _write(file, bytes, static_cast<unsigned>(std::min(count, most_at_once)));
        if (written < 0) return errno;
        bytes += written;
        count -= static_cast<std::size_t>(written);
    }
    return 0;
}

int close_file(int file) {
    return _close(file) == 0 ? 0 : errno;
}

int replace_file(const std::string& from, const std::string& to) {
    return MoveFileExA(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING) ? 0
                                                                            : error_number(GetLastError());
}

int folder_fault(const std::string& folder) {
    const DWORD attributes = GetFileAttributesA(folder.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES) return error_number(GetLastError());
    return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 ? 0 : ENOTDIR;
}

int replacement_fault(const std::string& path) {
    const DWORD attributes = GetFileAttributesA(path.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES) {
        const DWORD error = GetLastError();
        return error == ERROR_FILE_NOT_FOUND ? 0 : error_number(error);
    }
    if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return EISDIR;
    return (attributes & FILE_ATTRIBUTE_READONLY) != 0 ? EACCES : 0;
}

void keep_running_on_write_errors() {}

}  // namespace corrivane
