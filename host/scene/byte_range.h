#pragma once

#include <cstdint>

namespace corrivane::host {

/// Bytes that are there, and somebody else's.
struct ByteRange {
    const unsigned char* data = nullptr;
    std::uint64_t size = 0;
};

}  // namespace corrivane::host
