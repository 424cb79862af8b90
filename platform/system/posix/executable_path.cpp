#include "system/posix/executable_path.h"

#include <unistd.h>

#include <algorithm>

namespace system_detail {

std::size_t read_executable_path(char* path, std::size_t capacity) {
    const ssize_t length = readlink("/proc/self/exe", path, capacity - 1);
    const auto end = static_cast<std::size_t>(std::max<ssize_t>(length, 0));
    path[end] = '\0';
    return end;
}

}  // namespace system_detail
