#include "system/posix/safe_memory.h"

#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>

namespace system_detail {

namespace {

constexpr std::size_t page_size = 4096;

// The kernel copies, so whatever is wrong with the memory comes back as an error. Sanitizers see no read of
// ours either: stacks and other objects' guard zones are read on purpose.
bool copy_by_kernel(void* to, const void* from, std::size_t count) {
    const iovec local{to, count};
    const iovec remote{const_cast<void*>(from), count};
    return process_vm_readv(getpid(), &local, 1, &remote, 1, 0) == static_cast<ssize_t>(count);
}

// Some sandboxes forbid process_vm_readv. rt_sigprocmask with an impossible operation reads its 8-byte set
// first: EFAULT tells unreadable memory from EINVAL. Pages are readable as a whole.
bool is_page_readable(std::uintptr_t address) {
    const auto* set = reinterpret_cast<const void*>(address & ~std::uintptr_t{7});
    constexpr int no_operation = -1;
    return syscall(SYS_rt_sigprocmask, no_operation, set, nullptr, std::size_t{8}) == -1 && errno == EINVAL;
}

__attribute__((no_sanitize("address", "undefined", "thread"))) void copy_unchecked(void* to, const void* from,
                                                                                   std::size_t count) {
    auto* target = static_cast<volatile char*>(to);
    const auto* source = static_cast<const volatile char*>(from);
    for (std::size_t i = 0; i < count; ++i)
        target[i] = source[i];
}

bool copy_within_page(void* to, const void* from, std::size_t count) {
    if (copy_by_kernel(to, from, count)) return true;
    if (errno != EPERM && errno != ENOSYS) return false;
    if (!is_page_readable(reinterpret_cast<std::uintptr_t>(from))) return false;
    copy_unchecked(to, from, count);
    return true;
}

}  // namespace

std::size_t copy_readable(void* to, const void* from, std::size_t count) {
    const int saved_errno = errno;
    std::size_t done = 0;
    if (copy_by_kernel(to, from, count)) done = count;
    while (done < count) {
        const auto* source = static_cast<const char*>(from) + done;
        const std::size_t to_page_end = page_size - reinterpret_cast<std::uintptr_t>(source) % page_size;
        const std::size_t part = std::min(count - done, to_page_end);
        if (!copy_within_page(static_cast<char*>(to) + done, source, part)) break;
        done += part;
    }
    errno = saved_errno;
    return done;
}

}  // namespace system_detail
