#include "os/memory_pages.h"

#include <sys/mman.h>
#include <unistd.h>

namespace corrivane {

namespace {

void* map(std::size_t bytes, int flags) {
    void* pages = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | flags, -1, 0);
    return pages == MAP_FAILED ? nullptr : pages;
}

}  // namespace

void* reserve_pages(std::size_t bytes) {
    return map(bytes, MAP_NORESERVE);
}

bool commit_pages(void* /*pages*/, std::size_t /*bytes*/) {
    return true;  // the first touch does
}

void empty_pages(void* pages, std::size_t bytes) {
    madvise(pages, bytes, MADV_DONTNEED);
}

void* zero_pages(std::size_t bytes) {
    void* pages = map(bytes, 0);
    // Huge pages halve the time of the first touch.
    if (pages != nullptr) madvise(pages, bytes, MADV_HUGEPAGE);
    return pages;
}

void release_zero_pages(void* pages, std::size_t bytes) {
    munmap(pages, bytes);
}

std::uint64_t physical_memory() {
    return static_cast<std::uint64_t>(sysconf(_SC_PHYS_PAGES)) *
           static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
}

}  // namespace corrivane
