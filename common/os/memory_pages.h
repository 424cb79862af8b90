#pragma once

#include <cstddef>
#include <cstdint>

namespace corrivane {

// Memory from the system, by the page. Sizes are rounded up to pages.

/// Address space that can become memory; null when there is no so much.
void* reserve_pages(std::size_t bytes);
/// Lets a part of what was reserved be used; it reads as zero. False when memory runs out.
bool commit_pages(void* pages, std::size_t bytes);
/// Gives the memory of what was committed back. The addresses stay ours and read as zero.
void empty_pages(void* pages, std::size_t bytes);

/// Memory that reads as zero and that nobody has touched yet, for something large; null when there is none. It is
/// given back with the same size.
void* zero_pages(std::size_t bytes);
void release_zero_pages(void* pages, std::size_t bytes);

/// Bytes of memory that this machine has.
std::uint64_t physical_memory();

}  // namespace corrivane
