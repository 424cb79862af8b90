#include "worker/settings/text_file.h"

#include "worker/base/file_descriptor.h"

#include <system/plain_files.h>

#include <fcntl.h>

#include <cerrno>
#include <cstring>

namespace corrivane::worker {
namespace {

constexpr std::size_t max_file_size = 16 << 20;

std::string read_all(int descriptor, const std::string& name) {
    std::string text;
    char piece[65536];
    for (;;) {
        const auto count = ::read(descriptor, piece, sizeof piece);
        if (count == -1 && errno == EINTR) continue;
        if (count == -1) throw TextFileError(name + ": cannot be read: " + std::strerror(errno));
        if (count == 0) return text;
        text.append(piece, static_cast<std::size_t>(count));
        if (text.size() > max_file_size) throw TextFileError(name + ": is larger than 16 MiB");
    }
}

}  // namespace

std::string read_text_file(const std::string& path) {
    const FileDescriptor file(open_plain_file(path.c_str(), O_RDONLY));
    if (file.get() == -1) throw TextFileError(path + ": " + plain_file_error(errno));
    return read_all(file.get(), path);
}

std::string read_standard_input() {
    return read_all(STDIN_FILENO, "standard input");
}

}  // namespace corrivane::worker
