#include "maxscript/streams/file_access.h"

#include "maxscript/machine/errors.h"

#include <system/drive_map.h>
#include <system/plain_files.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <new>
#include <string_view>
#include <utility>

namespace corrivane::host {

namespace {

constexpr std::size_t most_without_size = std::size_t{16} << 20;

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

/// Adds to the text until the file ends or the text has `most` characters.
bool read_up_to(int file, std::size_t most, std::string& text) {
    std::array<char, 65536> piece;
    while (text.size() < most) {
        const ssize_t count = read(file, piece.data(), std::min(piece.size(), most - text.size()));
        if (count == 0) return true;
        if (count > 0) {
            text.append(piece.data(), static_cast<std::size_t>(count));
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

/// Reads what the file holds now; files of /proc say that they hold nothing, and some never end. Throws
/// std::bad_alloc when it is too much.
bool read_all(int file, std::string& text) {
    struct stat status {};
    if (fstat(file, &status) != 0) return false;
    const auto size = static_cast<std::size_t>(status.st_size);
    const std::size_t most = std::max(size, most_without_size);
    // Held to the heap's limit before the memory is taken.
    HeldBytes held;
    held.update(size);
    text.reserve(size);
    if (!read_up_to(file, most, text)) return false;
    if (text.size() > size && text.size() == most) throw std::bad_alloc();
    return true;
}

void append_utf8(std::string& text, char32_t character) {
    if (character < 0x80) {
        text += static_cast<char>(character);
        return;
    }
    // The first of two to four bytes says by its high bits how many follow.
    const int following = character < 0x800 ? 1 : character < 0x10000 ? 2 : 3;
    text += static_cast<char>((0xFF00 >> (following + 1) & 0xFF) | character >> 6 * following);
    for (int i = following; i-- > 0;)
        text += static_cast<char>(0x80 | (character >> 6 * i & 0x3F));
}

/// A text of UTF-16 as UTF-8; `high` is where in a pair of bytes the upper one stands.
std::string from_utf16(const std::string& bytes, std::size_t high) {
    const auto unit = [&](std::size_t at) {
        return static_cast<char32_t>(static_cast<unsigned char>(bytes[at + high]) << 8 |
                                     static_cast<unsigned char>(bytes[at + 1 - high]));
    };
    std::string text;
    for (std::size_t i = 2; i + 1 < bytes.size(); i += 2) {
        char32_t character = unit(i);
        if (character >= 0xD800 && character < 0xDC00 && i + 3 < bytes.size()) {
            character = 0x10000 + ((character - 0xD800) << 10) + (unit(i + 2) - 0xDC00);
            i += 2;
        }
        append_utf8(text, character & 0x1FFFFF);
    }
    return text;
}

/// What is behind a byte-order mark, as UTF-8; a text without one stays as it is.
std::string without_byte_order(std::string text) {
    if (text.starts_with("\xEF\xBB\xBF")) return text.substr(3);
    if (text.starts_with("\xFF\xFE")) return from_utf16(text, 1);
    if (text.starts_with("\xFE\xFF")) return from_utf16(text, 0);
    return text;
}

bool read_descriptor(int file, std::string& failure, TextReader& reader) {
    std::string text;
    try {
        if (!read_all(file, text)) {
            failure = std::strerror(errno);
            return false;
        }
        reader.set_text(without_byte_order(std::move(text)));
    } catch (const std::bad_alloc&) {
        failure = "it is too large";
        return false;
    }
    return true;
}

std::FILE* open_stream(const std::string& path, int flags, const char* mode) {
    const int file = open_plain_file(path.c_str(), O_WRONLY | flags);
    if (file < 0) return nullptr;
    std::FILE* stream = fdopen(file, mode);
    if (stream != nullptr) return stream;
    const int error = errno;
    close(file);
    errno = error;
    return nullptr;
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
    const Descriptor file(open_plain_file(path.c_str(), O_RDONLY));
    if (file.number() < 0) {
        failure = plain_file_error(errno);
        return false;
    }
    return read_descriptor(file.number(), failure, reader);
}

std::optional<FileMode> FileMode::from(const std::string& text) {
    const bool updates = text.find('+') != std::string::npos;
    const std::size_t known = text.find_first_not_of("tb+", 1);
    if (text.empty() || text.size() > 3 || known != std::string::npos) return std::nullopt;
    switch (text.front()) {
        case 'r':
            return FileMode{.reads = true, .writes = updates};
        case 'w':
            return FileMode{.reads = updates, .writes = true, .empties = true};
        case 'a':
            return FileMode{.reads = updates, .writes = true, .appends = true};
        default:
            return std::nullopt;
    }
}

std::FILE* open_for_writing(const std::string& name, const FileMode& mode, std::string& failure) {
    const std::string path = path_to_open(name, native_output_path, failure);
    if (path.empty()) return nullptr;
    const int flags = (mode.appends ? O_APPEND | O_CREAT : 0) | (mode.empties ? O_TRUNC | O_CREAT : 0);
    std::FILE* file = open_stream(path, flags, mode.appends ? "a" : "w");
    if (file == nullptr) failure = plain_file_error(errno);
    return file;
}

std::FILE* open_machine_file_for_writing(const std::string& path, bool appends) {
    return open_stream(path, O_CREAT | (appends ? O_APPEND : O_TRUNC), appends ? "a" : "w");
}

}  // namespace corrivane::host
