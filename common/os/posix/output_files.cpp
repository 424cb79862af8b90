#include "os/output_files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>

namespace corrivane {

namespace {

/// A user's share that is used up is a full disk.
int failure() {
    return errno == EDQUOT ? ENOSPC : errno;
}

}  // namespace

int open_new_file(const std::string& path) {
    int file;
    do {
        file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    } while (file < 0 && errno == EINTR);
    if (file < 0) errno = failure();
    return file;
}

int write_all(int file, const unsigned char* bytes, std::size_t count) {
    while (count > 0) {
        const ssize_t written = write(file, bytes, count);
        if (written < 0 && errno != EINTR) return failure();
        if (written > 0) {
            bytes += written;
            count -= static_cast<std::size_t>(written);
        }
    }
    return 0;
}

int close_file(int file) {
    return close(file) == 0 || errno == EINTR ? 0 : failure();
}

int replace_file(const std::string& from, const std::string& to) {
    return rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
}

int folder_fault(const std::string& folder) {
    struct stat status;
    if (stat(folder.c_str(), &status) != 0) return errno;
    if (!S_ISDIR(status.st_mode)) return ENOTDIR;
    return faccessat(AT_FDCWD, folder.c_str(), W_OK | X_OK, AT_EACCESS) == 0 ? 0 : errno;
}

int replacement_fault(const std::string& path) {
    struct stat status;
    if (stat(path.c_str(), &status) != 0) return errno == ENOENT ? 0 : errno;
    if (S_ISDIR(status.st_mode)) return EISDIR;
    constexpr mode_t any_write = S_IWUSR | S_IWGRP | S_IWOTH;
    const bool read_only = (status.st_mode & any_write) == 0;
    const bool replaceable =
        S_ISREG(status.st_mode) && !read_only && faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) == 0;
    return replaceable ? 0 : EACCES;
}

void keep_running_on_write_errors() {
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

}  // namespace corrivane
