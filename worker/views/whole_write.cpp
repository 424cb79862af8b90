#include "worker/views/whole_write.h"

#include "worker/base/file_descriptor.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

namespace corrivane::worker {
namespace {

[[noreturn]] void fail(const char* call) {
    throw std::system_error(errno, std::generic_category(), call);
}

}  // namespace

void write_whole(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::write(descriptor, bytes.data(), bytes.size());
        if (count == -1 && errno != EINTR) fail("write");
        if (count > 0) bytes.remove_prefix(static_cast<std::size_t>(count));
    }
}

void replace_file(const std::string& path, std::string_view bytes) {
    const std::string unfinished = path + '.' + std::to_string(::getpid()) + ".tmp";
    const FileDescriptor file(::open(unfinished.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
    if (file.get() == -1) fail("open");
    try {
        write_whole(file.get(), bytes);
        std::filesystem::rename(unfinished, path);
    } catch (const std::system_error&) {
        ::unlink(unfinished.c_str());
        throw;
    }
}

}  // namespace corrivane::worker
