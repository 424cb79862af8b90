#include "bitmap/staged_file.h"

#include "os/output_files.h"

#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <system_error>

namespace corrivane::host {

namespace {

[[noreturn]] void fail(int error, const char* what) {
    throw std::system_error(error, std::generic_category(), what);
}

/// A short name, so that the longest name of a file does not become too long for its temporary one. The
/// process number keeps the hosts of one machine apart; between machines that share a folder, asking for a new file does.
std::string temporary_name(const std::string& path) {
    static std::atomic<unsigned> next = 0;
    const std::string folder = path.substr(0, path.rfind('/') + 1);
    return folder + ".corrivane-" + std::to_string(getpid()) + "-" + std::to_string(next++) + ".tmp";
}

int create_temporary(const std::string& path, std::string& name) {
    int file;
    do {
        name = temporary_name(path);
        file = open_new_file(name);
    } while (file < 0 && errno == EEXIST);
    if (file < 0) fail(errno, "create");
    return file;
}

}  // namespace

StagedFile::StagedFile(const std::string& path, std::span<const unsigned char> bytes) : m_path(path) {
    const int file = create_temporary(path, m_temporary);
    int error = write_all(file, bytes.data(), bytes.size());
    // Some file systems report a full disk only here.
    const int late_error = close_file(file);
    if (error == 0) error = late_error;
    if (error == 0) return;
    unlink(m_temporary.c_str());
    fail(error, "write");
}

StagedFile::~StagedFile() {
    if (!m_temporary.empty()) unlink(m_temporary.c_str());
}

void StagedFile::publish() {
    if (const int error = replace_file(m_temporary, m_path); error != 0) fail(error, "rename");
    m_temporary.clear();
}

}  // namespace corrivane::host
