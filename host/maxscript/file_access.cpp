#include "maxscript/file_access.h"

#include "maxscript/errors.h"

#include <system/drive_map.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <new>
#include <string_view>
#include <utility>

namespace corrivane::host {

namespace {

bool g_allowed = true;

/// Closes a file of the system at the end of its scope.
class Descriptor {
public:
    explicit Descriptor(int number) : m_number(number) {}
    ~Descriptor() {
        if (m_number >= 0) close(m_number);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int number() const { return m_number; }

private:
    int m_number;
};

using Mapping = NativePath (*)(std::string_view windows_path);

/// The path to open; empty, and why, when there is none.
std::string path_to_open(const std::string& name, Mapping mapping, std::string& failure) {
    if (!g_allowed) {
        failure = "scripts may not use files here";
        return {};
    }
    const NativePath path = mapping(name);
    if (path.error != ERROR_SUCCESS) failure = path_fault(name, path.error);
    return path.path;
}

bool read_all(int file, std::string& text) {
    std::array<char, 65536> piece;
    for (;;) {
        const ssize_t count = read(file, piece.data(), piece.size());
        if (count == 0) return true;
        if (count > 0) {
            text.append(piece.data(), static_cast<std::size_t>(count));
        } else if (errno != EINTR) {
            return false;
        }
    }
}

}  // namespace

void set_file_access(bool allowed) {
    g_allowed = allowed;
}

void check_file_access() {
    if (!g_allowed) raise_runtime_error("scripts may not use files here");
}

std::string machine_path(const std::string& windows_path) {
    return native_path(windows_path).path;
}

bool read_file(const std::string& name, std::string& failure, TextReader& reader) {
    const std::string path = path_to_open(name, native_path, failure);
    if (path.empty()) return false;
    // Without waiting: what is no plain file is refused, not waited for.
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status {};
    if (file.number() < 0 || fstat(file.number(), &status) != 0) {
        failure = std::strerror(errno);
        return false;
    }
    if (!S_ISREG(status.st_mode)) {
        failure = "it is not a file";
        return false;
    }
    std::string text;
    try {
        // Held to the heap's limit before the memory is taken.
        HeldBytes held;
        held.update(static_cast<std::size_t>(status.st_size));
        if (!read_all(file.number(), text)) {
            failure = std::strerror(errno);
            return false;
        }
        if (text.compare(0, 3, "\xEF\xBB\xBF") == 0) text.erase(0, 3);
        held.update(0);
        reader.set_text(std::move(text));
    } catch (const std::bad_alloc&) {
        failure = "it is too large";
        return false;
    }
    return true;
}

std::FILE* open_for_writing(const std::string& name, const std::string& mode, std::string& failure) {
    const bool appends = mode == "a" || mode == "at" || mode == "ab";
    if (!appends && mode != "w" && mode != "wt" && mode != "wb") {
        failure = "the mode \"" + mode + "\" is not known";
        return nullptr;
    }
    const std::string path = path_to_open(name, native_output_path, failure);
    if (path.empty()) return nullptr;
    std::FILE* file = std::fopen(path.c_str(), appends ? "ae" : "we");
    if (file == nullptr) failure = std::strerror(errno);
    return file;
}

}  // namespace corrivane::host
