#include "images/imageio/plain/deflate.h"

#include <zlib.h>

#include <stdexcept>

namespace corrivane {

Bytes deflated(const Bytes& bytes) {
    z_stream stream{};
    constexpr int window_bits = 15;
    constexpr int memory_level = 8;
    if (deflateInit2(&stream, 1, Z_DEFLATED, window_bits, memory_level, Z_RLE) != Z_OK)
        throw std::runtime_error("zlib does not start");
    const auto size = static_cast<uLong>(bytes.size());
    Bytes result(deflateBound(&stream, size));
    stream.next_in = const_cast<Bytef*>(bytes.data());
    stream.avail_in = static_cast<uInt>(size);
    stream.next_out = result.data();
    stream.avail_out = static_cast<uInt>(result.size());
    // The counts have 32 bits.
    const bool fits = result.size() <= UINT32_MAX;
    const bool done = fits && deflate(&stream, Z_FINISH) == Z_STREAM_END;
    result.resize(stream.total_out);
    deflateEnd(&stream);
    if (!done) throw std::runtime_error("too large for zlib");
    return result;
}

}  // namespace corrivane
