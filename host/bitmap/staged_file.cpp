#include "bitmap/staged_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <system_error>

namespace corrivane::host {

namespace {

[[noreturn]] void fail(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

/// A short name, so that the longest name of a file does not become too long for its temporary one. The
/// process number keeps the hosts of one machine apart; between machines that share a folder, O_EXCL does.
std::string temporary_name(const std::string& path) {
    static std::atomic<unsigned> next = 0;
    const std::string folder = path.substr(0, path.rfind('/') + 1);
    return folder + ".corrivane-" + std::to_string(getpid()) + "-" + std::to_string(next++) + ".tmp";
}

int create_temporary(const std::string& path, std::string& name) {
    int file;
    do {
        name = temporary_name(path);
        file = open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    } while (file < 0 && (errno == EEXIST || errno == EINTR));
    if (file < 0) fail("create");
    return file;
}

/// 0, or the errno value of the write that failed.
int write_all(int file, std::span<const unsigned char> bytes) {
    while (!bytes.empty()) {
        const ssize_t written = write(file, bytes.data(), bytes.size());
        if (written < 0 && errno != EINTR) return errno;
        if (written > 0) bytes = bytes.subspan(written);
    }
    return 0;
}

}  // namespace

StagedFile::StagedFile(const std::string& path, std::span<const unsigned char> bytes) : m_path(path) {
    const int file = create_temporary(path, m_temporary);
    int error = write_all(file, bytes);
    // Some file systems report a full disk only here.
    if (close(file) != 0 && error == 0 && errno != EINTR) error = errno;
    if (error == 0) return;
    unlink(m_temporary.c_str());
    errno = error;
    fail("write");
}

StagedFile::~StagedFile() {
    if (!m_temporary.empty()) unlink(m_temporary.c_str());
}

void StagedFile::publish() {
    if (rename(m_temporary.c_str(), m_path.c_str()) != 0) fail("rename");
    m_temporary.clear();
}

}  // namespace corrivane::host
