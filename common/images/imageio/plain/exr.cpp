#include "images/imageio/plain/byte_order.h"
#include "images/imageio/plain/writers.h"
#include "images/imageio/quantize.h"

#include <half.h>

#include <bit>
#include <cstdint>
#include <string_view>

namespace corrivane {

namespace {

void put_text(Bytes& bytes, std::string_view text) {
    bytes.insert(bytes.end(), text.begin(), text.end());
    bytes.push_back(0);
}

void put_float(Bytes& bytes, float value) {
    put_little_endian(bytes, std::bit_cast<std::uint32_t>(value));
}

void put_attribute(Bytes& header, std::string_view name, std::string_view type, const Bytes& value) {
    put_text(header, name);
    put_text(header, type);
    put_little_endian(header, static_cast<std::uint32_t>(value.size()));
    header.insert(header.end(), value.begin(), value.end());
}

/// A channel and which of a pixel's floats it is; the format wants them in the order of their names.
struct Channel {
    std::string_view name;
    std::size_t index;
};
constexpr Channel all_channels[] = {{"A", 3}, {"B", 2}, {"G", 1}, {"R", 0}};

std::span<const Channel> channels_of(ImageChannels channels) {
    const std::span all(all_channels);
    return channels == ImageChannels::rgba  ? all
           : channels == ImageChannels::rgb ? all.subspan(1)
                                            : all.first(1);
}

Bytes channel_list(const EncodeRequest& request) {
    constexpr std::uint32_t half_samples = 1, float_samples = 2;
    Bytes list;
    for (const Channel& channel : channels_of(request.channels)) {
        put_text(list, channel.name);
        put_little_endian(list, request.depth == SampleDepth::half ? half_samples : float_samples);
        put_little_endian(list, std::uint32_t{0});
        put_little_endian(list, std::uint32_t{1});  // a sample for every column
        put_little_endian(list, std::uint32_t{1});  // and row
    }
    list.push_back(0);
    return list;
}

Bytes header(const EncodeRequest& request) {
    Bytes window;
    for (const int edge : {0, 0, request.width - 1, request.height - 1})
        put_little_endian(window, edge);
    Bytes aspect, centre, width;
    put_float(aspect, request.pixel_aspect);
    put_float(centre, 0);
    put_float(centre, 0);
    put_float(width, 1);
    Bytes bytes;
    put_little_endian(bytes, std::uint32_t{20000630});
    put_little_endian(bytes, std::uint32_t{2});
    put_attribute(bytes, "channels", "chlist", channel_list(request));
    put_attribute(bytes, "compression", "compression", {0});
    put_attribute(bytes, "dataWindow", "box2i", window);
    put_attribute(bytes, "displayWindow", "box2i", window);
    put_attribute(bytes, "lineOrder", "lineOrder", {0});
    put_attribute(bytes, "pixelAspectRatio", "float", aspect);
    put_attribute(bytes, "screenWindowCenter", "v2f", centre);
    put_attribute(bytes, "screenWindowWidth", "float", width);
    bytes.push_back(0);
    return bytes;
}

void put_row(Bytes& bytes, const EncodeRequest& request, int y) {
    const float* row = request.rgba + 4 * std::size_t(y) * request.width;
    for (const Channel& channel : channels_of(request.channels)) {
        for (std::size_t x = 0; x < std::size_t(request.width); ++x) {
            const float value = row[4 * x + channel.index];
            if (request.depth == SampleDepth::half)
                put_little_endian(bytes, Imath::half(value).bits());
            else
                put_float(bytes, value);
        }
    }
}

}  // namespace

/// Not compressed: each row by itself, behind a table of where it lies.
void write_exr(const EncodeRequest& request, Bytes& bytes) {
    const std::size_t sample_size = request.depth == SampleDepth::half ? 2 : 4;
    const std::size_t row_size =
        channels_of(request.channels).size() * std::size_t(request.width) * sample_size;
    const auto height = static_cast<std::size_t>(request.height);
    bytes = header(request);
    const std::size_t first_row = bytes.size() + 8 * height;
    bytes.reserve(first_row + (8 + row_size) * height);
    for (std::size_t y = 0; y < height; ++y)
        put_little_endian(bytes, static_cast<std::uint64_t>(first_row + (8 + row_size) * y));
    for (int y = 0; y < request.height; ++y) {
        put_little_endian(bytes, y);
        put_little_endian(bytes, static_cast<std::uint32_t>(row_size));
        put_row(bytes, request, y);
    }
}

}  // namespace corrivane
