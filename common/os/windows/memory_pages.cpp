#include "os/memory_pages.h"

#include <windows.h>

namespace corrivane {

void* reserve_pages(std::size_t bytes) {
    return VirtualAlloc(nullptr, bytes, MEM_RESERVE, PAGE_READWRITE);
}

bool commit_pages(void* pages, std::size_t bytes) {
    return VirtualAlloc(pages, bytes, MEM_COMMIT, PAGE_READWRITE) != nullptr;
}

void empty_pages(void* pages, std::size_t bytes) {
    VirtualFree(pages, bytes, MEM_DECOMMIT);
    // Memory that was just given back is there, and costs none until it is touched.
    VirtualAlloc(pages, bytes, MEM_COMMIT, PAGE_READWRITE);
}

void* zero_pages(std::size_t bytes) {
    return VirtualAlloc(nullptr, bytes, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
}

void release_zero_pages(void* pages, std::size_t /*bytes*/) {
    VirtualFree(pages, 0, MEM_RELEASE);
}

std::uint64_t physical_memory() {
    MEMORYSTATUSEX status{};
    status.dwLength = sizeof status;
    GlobalMemoryStatusEx(&status);
    return status.ullTotalPhys;
}

}  // namespace corrivane
