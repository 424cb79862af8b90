#include "images/imageio/plain/deflate.h"
#include "images/imageio/plain/writers.h"
#include "images/imageio/quantize.h"

#include <zlib.h>

#include <cmath>
#include <cstdint>
#include <string_view>

namespace corrivane {

namespace {

void put_chunk(Bytes& file, std::string_view kind, const Bytes& content) {
    put_big_endian(file, static_cast<std::uint32_t>(content.size()));
    const std::size_t start = file.size();
    file.insert(file.end(), kind.begin(), kind.end());
    file.insert(file.end(), content.begin(), content.end());
    const uLong sum = crc32(0, file.data() + start, static_cast<uInt>(file.size() - start));
    put_big_endian(file, static_cast<std::uint32_t>(sum));
}

std::uint8_t color_type(ImageChannels channels) {
    constexpr std::uint8_t grey = 0, rgb = 2, rgba = 6;
    return channels == ImageChannels::rgba ? rgba : channels == ImageChannels::rgb ? rgb : grey;
}

Bytes header(const EncodeRequest& request) {
    Bytes content;
    put_big_endian(content, request.width);
    put_big_endian(content, request.height);
    const std::uint8_t bits = request.depth == SampleDepth::bits16 ? 16 : 8;
    for (const std::uint8_t field :
         {bits, color_type(request.channels), std::uint8_t{0}, std::uint8_t{0}, std::uint8_t{0}})
        content.push_back(field);
    return content;
}

/// Pixels to an unknown unit, along each axis.
Bytes pixel_shape(float aspect) {
    constexpr float unit = 10000;
    Bytes content;
    put_big_endian(content, static_cast<std::uint32_t>(unit));
    put_big_endian(content, static_cast<std::uint32_t>(std::lround(unit * aspect)));
    content.push_back(0);
    return content;
}

/// Rows as the format has them: each behind the number of its filter, none, and 16-bit samples high byte first.
Bytes rows(const EncodeRequest& request) {
    const std::size_t sample_size = request.depth == SampleDepth::bits16 ? 2 : 1;
    const std::size_t row_size = std::size_t(request.width) * channel_count(request.channels) * sample_size;
    Bytes samples;
    Bytes result;
    result.reserve((row_size + 1) * std::size_t(request.height));
    for (int y = 0; y < request.height; ++y) {
        const float* row = request.rgba + 4 * std::size_t(y) * request.width;
        quantize_pixels(row, request.width, request.depth, request.channels, samples);
        if (sample_size == 2)
            for (std::size_t i = 0; i < row_size; i += 2)
                std::swap(samples[i], samples[i + 1]);
        result.push_back(0);
        result.insert(result.end(), samples.begin(), samples.begin() + std::ptrdiff_t(row_size));
    }
    return result;
}

}  // namespace

void write_png(const EncodeRequest& request, Bytes& bytes) {
    constexpr std::string_view signature = "\x89PNG\r\n\x1A\n";
    bytes.assign(signature.begin(), signature.end());
    put_chunk(bytes, "IHDR", header(request));
    if (request.pixel_aspect != 1) put_chunk(bytes, "pHYs", pixel_shape(request.pixel_aspect));
    put_chunk(bytes, "IDAT", deflated(rows(request)));
    put_chunk(bytes, "IEND", {});
}

}  // namespace corrivane
