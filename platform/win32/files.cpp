#include "detail/file_times.h"
#include "detail/system_error.h"
#include "detail/toolhelp.h"
#include "system/posix/mapped_path.h"

#include <system/plain_files.h>
#include <windows.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdint>

namespace {

using system_detail::MappedPath;

// A file's handle is its descriptor, counted from 1 and in steps of 4 as the kernel of Windows counts:
// opening a file needs no memory, and neither null nor INVALID_HANDLE_VALUE is a file.
HANDLE handle_of(int descriptor) {
    return reinterpret_cast<HANDLE>((static_cast<std::uintptr_t>(descriptor) + 1) * 4);
}

// -1, which every system call refuses, for what is no file's handle.
int descriptor_of(HANDLE handle) {
    const auto value = reinterpret_cast<std::uintptr_t>(handle);
    if (value == 0 || value % 4 != 0 || value / 4 - 1 > INT_MAX) return -1;
    return static_cast<int>(value / 4 - 1);
}

// A search finds at most one entry, at once: no state is left for its handle to stand for.
HANDLE search_handle() {
    return reinterpret_cast<HANDLE>(std::uintptr_t{0x5EA2C1});
}

BOOL fail(DWORD error) {
    SetLastError(error);
    return FALSE;
}

HANDLE fail_to_open(DWORD error) {
    SetLastError(error);
    return INVALID_HANDLE_VALUE;
}

// Fills `mapped` from what a caller passed, which may be null.
DWORD map_argument(LPCSTR path, MappedPath& mapped) {
    return path == nullptr ? ERROR_PATH_NOT_FOUND : system_detail::map_path(path, mapped);
}

DWORD query(const MappedPath& path, struct stat& status) {
    return stat(path.text, &status) == 0 ? ERROR_SUCCESS : win32_detail::path_error(errno, path);
}

DWORD attributes_of(const struct stat& status) {
    return S_ISDIR(status.st_mode) ? FILE_ATTRIBUTE_DIRECTORY : FILE_ATTRIBUTE_NORMAL;
}

// The open flags, or -1 for a combination that is not offered.
int open_flags(DWORD access, DWORD disposition) {
    const bool reads = (access & GENERIC_READ) != 0;
    const bool writes = (access & GENERIC_WRITE) != 0;
    const bool appends = (access & FILE_APPEND_DATA) != 0;
    const int mode = appends ? O_WRONLY | O_APPEND : writes ? (reads ? O_RDWR : O_WRONLY) : O_RDONLY;
    switch (disposition) {
        case CREATE_ALWAYS:
            return mode | O_CREAT | O_TRUNC;
        case OPEN_EXISTING:
            return mode;
        default:
            return -1;
    }
}

// Why a drive's root or a share is never made or replaced: it is there, or there is no such drive or share.
DWORD root_refusal(const MappedPath& root) {
    struct stat status;
    const DWORD error = query(root, status);
    return error == ERROR_SUCCESS ? ERROR_ACCESS_DENIED : error;
}

// Why a search does not find what it names although it is there, or ERROR_SUCCESS.
DWORD search_refusal(const MappedPath& path, bool is_directory) {
    if (path.is_root())
        return path.root == system_detail::PathRoot::Share ? ERROR_BAD_NETPATH : ERROR_FILE_NOT_FOUND;
    if (path.ends_in_separator()) return is_directory ? ERROR_FILE_NOT_FOUND : ERROR_DIRECTORY;
    return ERROR_SUCCESS;
}

}  // namespace

HANDLE CreateFileA(LPCSTR path, DWORD access, DWORD /*sharing*/, SECURITY_ATTRIBUTES* /*security*/,
                   DWORD disposition, DWORD /*attributes*/, HANDLE /*pattern*/) {
    const int flags = open_flags(access, disposition);
    if (flags < 0) return fail_to_open(ERROR_INVALID_PARAMETER);
    MappedPath mapped;
    if (const DWORD error = map_argument(path, mapped); error != ERROR_SUCCESS) return fail_to_open(error);
    if (mapped.is_root()) return fail_to_open(root_refusal(mapped));
    const int descriptor = open_plain_file(mapped.text, flags);
    if (descriptor < 0) {
        const int reason = errno;
        return fail_to_open(reason == ENXIO ? ERROR_ACCESS_DENIED : win32_detail::path_error(reason, mapped));
    }
    return handle_of(descriptor);
}

BOOL WriteFile(HANDLE file, LPCVOID bytes, DWORD count, LPDWORD written, OVERLAPPED* /*overlapped*/) {
    const auto* next = static_cast<const char*>(bytes);
    DWORD done = 0;
    DWORD error = ERROR_SUCCESS;
    while (done < count && error == ERROR_SUCCESS) {
        const ssize_t sent = write(descriptor_of(file), next + done, count - done);
        if (sent >= 0) {
            done += static_cast<DWORD>(sent);
        } else if (errno != EINTR) {
            error = win32_detail::system_error(errno);
        }
    }
    if (written != nullptr) *written = done;
    return error == ERROR_SUCCESS ? TRUE : fail(error);
}

BOOL GetFileTime(HANDLE file, FILETIME* creation, FILETIME* access, FILETIME* write) {
    struct stat status;
    if (fstat(descriptor_of(file), &status) != 0) return fail(win32_detail::system_error(errno));
    if (creation != nullptr) *creation = win32_detail::to_file_time(status.st_ctim);
    if (access != nullptr) *access = win32_detail::to_file_time(status.st_atim);
    if (write != nullptr) *write = win32_detail::to_file_time(status.st_mtim);
    return TRUE;
}

BOOL CloseHandle(HANDLE handle) {
    if (handle == win32_detail::module_walk_handle()) return TRUE;
    return close(descriptor_of(handle)) == 0 || errno == EINTR ? TRUE
                                                               : fail(win32_detail::system_error(errno));
}

BOOL GetFileAttributesExA(LPCSTR path, GET_FILEEX_INFO_LEVELS level, LPVOID information) {
    if (level != GetFileExInfoStandard || information == nullptr) return fail(ERROR_INVALID_PARAMETER);
    MappedPath mapped;
    if (const DWORD error = map_argument(path, mapped); error != ERROR_SUCCESS) return fail(error);
    struct stat status;
    if (const DWORD error = query(mapped, status); error != ERROR_SUCCESS) return fail(error);
    static_cast<WIN32_FILE_ATTRIBUTE_DATA*>(information)->dwFileAttributes = attributes_of(status);
    return TRUE;
}

HANDLE FindFirstFileA(LPCSTR path, WIN32_FIND_DATAA* data) {
    MappedPath mapped;
    if (const DWORD error = map_argument(path, mapped); error != ERROR_SUCCESS) return fail_to_open(error);
    struct stat status;
    if (const DWORD error = query(mapped, status); error != ERROR_SUCCESS) return fail_to_open(error);
    const DWORD refusal = search_refusal(mapped, S_ISDIR(status.st_mode));
    if (refusal != ERROR_SUCCESS) return fail_to_open(refusal);
    data->dwFileAttributes = attributes_of(status);
    return search_handle();
}

BOOL FindClose(HANDLE search) {
    return search == search_handle() ? TRUE : fail(ERROR_INVALID_HANDLE);
}

BOOL CreateDirectoryA(LPCSTR path, SECURITY_ATTRIBUTES* /*security*/) {
    MappedPath mapped;
    if (const DWORD error = map_argument(path, mapped); error != ERROR_SUCCESS) return fail(error);
    if (mapped.is_root()) return fail(root_refusal(mapped));
    if (mkdir(mapped.text, 0777) == 0) return TRUE;
    // A missing parent is a missing path, even though it is the last name that the system did not find.
    const DWORD error = win32_detail::path_error(errno, mapped);
    return fail(error == ERROR_FILE_NOT_FOUND ? ERROR_PATH_NOT_FOUND : error);
}
