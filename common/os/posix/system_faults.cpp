#include "os/system_faults.h"

#include <sys/mman.h>
#include <unistd.h>
#include <x86intrin.h>

#include <cstdint>
#include <stdexcept>

namespace corrivane {

namespace {

/// A mapped page whose file has become shorter has nothing to be filled from.
std::uintptr_t map_truncated_file() {
    const int file = memfd_create("truncated", MFD_CLOEXEC);
    const long page = sysconf(_SC_PAGESIZE);
    void* mapped = MAP_FAILED;
    if (file >= 0 && ftruncate(file, page) == 0) {
        mapped = mmap(nullptr, static_cast<std::size_t>(page), PROT_READ, MAP_SHARED, file, 0);
    }
    const bool truncated = mapped != MAP_FAILED && ftruncate(file, 0) == 0;
    if (file >= 0) {
        close(file);
    }
    if (!truncated) {
        throw std::runtime_error("cannot map a file to fault on");
    }
    return reinterpret_cast<std::uintptr_t>(mapped);
}

}  // namespace

/// One mapping serves for ever: the call that faults does not return to take it away.
void read_behind_the_end_of_a_mapped_file() {
    static const std::uintptr_t address = map_truncated_file();
    asm volatile("movb (%0), %%al" : : "r"(address) : "rax", "memory");
}

/// With the alignment-check flag set, the processor objects to a word at an odd address.
void read_misaligned() {
    constexpr std::uint64_t alignment_check = 1U << 18;
    alignas(16) static const char bytes[16] = {};
    const char* odd = bytes + 1;
    __writeeflags(__readeflags() | alignment_check);
    asm volatile("movl (%0), %%eax" : : "r"(odd) : "rax", "memory");
}

}  // namespace corrivane
