#pragma once

#include <unistd.h>

#include <utility>

namespace corrivane::worker {

/// Owns a file descriptor; -1 stands for none.
class FileDescriptor {
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int fd) : m_fd(fd) {}
    FileDescriptor(FileDescriptor&& other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        std::swap(m_fd, other.m_fd);
        return *this;
    }
    ~FileDescriptor() { reset(); }

    int get() const { return m_fd; }

    void reset() {
        if (m_fd != -1) ::close(std::exchange(m_fd, -1));
    }

private:
    int m_fd = -1;
};

}  // namespace corrivane::worker
