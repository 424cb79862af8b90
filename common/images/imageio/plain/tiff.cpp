#include "images/imageio/plain/deflate.h"
#include "images/imageio/plain/writers.h"
#include "images/imageio/quantize.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <initializer_list>

namespace corrivane {

namespace {

enum FieldType : std::uint16_t { is_short = 3, is_long = 4, is_rational = 5 };

int bits_per_sample(SampleDepth depth) {
    return depth == SampleDepth::bits8 ? 8 : depth == SampleDepth::bits16 ? 16 : 32;
}

Bytes samples_of(const EncodeRequest& request) {
    const std::size_t count = std::size_t(request.width) * std::size_t(request.height);
    const std::size_t channels = channel_count(request.channels);
    Bytes samples;
    if (request.depth != SampleDepth::float32) {
        quantize_pixels(request.rgba, count, request.depth, request.channels, samples);
        return samples;
    }
    samples.reserve(count * channels * sizeof(float));
    for (std::size_t pixel = 0; pixel < count; ++pixel)
        for (std::size_t channel = 0; channel < channels; ++channel)
            put_little_endian(samples,
                              std::bit_cast<std::uint32_t>(
                                  request.rgba[4 * pixel + channel + first_channel(request.channels)]));
    return samples;
}

/// The file's one directory: its fields, and behind it what is longer than a field.
class Directory {
public:
    /// `offset` is where in the file it will lie, `fields` how many it will have.
    Directory(std::uint32_t offset, std::uint16_t fields) : m_overflow_offset(offset + 2 + 12 * fields + 4) {
        put_little_endian(m_fields, fields);
    }

    void add(std::uint16_t tag, FieldType type, std::initializer_list<std::uint32_t> values) {
        Bytes content;
        for (const std::uint32_t value : values)
            if (type == is_short)
                put_little_endian(content, static_cast<std::uint16_t>(value));
            else
                put_little_endian(content, value);
        put_little_endian(m_fields, tag);
        put_little_endian(m_fields, static_cast<std::uint16_t>(type));
        put_little_endian(m_fields,
                          static_cast<std::uint32_t>(values.size() / (type == is_rational ? 2 : 1)));
        if (content.size() <= 4) {
            content.resize(4);
            m_fields.insert(m_fields.end(), content.begin(), content.end());
        } else {
            put_little_endian(m_fields, static_cast<std::uint32_t>(m_overflow_offset + m_overflow.size()));
            m_overflow.insert(m_overflow.end(), content.begin(), content.end());
        }
    }

    void append_to(Bytes& file) const {
        file.insert(file.end(), m_fields.begin(), m_fields.end());
        put_little_endian(file, std::uint32_t{0});  // no further directory
        file.insert(file.end(), m_overflow.begin(), m_overflow.end());
    }

private:
    std::uint32_t m_overflow_offset;
    Bytes m_fields;
    Bytes m_overflow;
};

}  // namespace

void write_tiff(const EncodeRequest& request, Bytes& bytes) {
    constexpr std::uint32_t pixels_offset = 8;
    const Bytes pixels = deflated(samples_of(request));
    const auto size = static_cast<std::uint32_t>(pixels.size());
    const std::uint32_t directory_offset = pixels_offset + (size + 1) / 2 * 2;
    for (const char character : {'I', 'I', '*', '\0'})
        bytes.push_back(static_cast<unsigned char>(character));
    put_little_endian(bytes, directory_offset);
    bytes.insert(bytes.end(), pixels.begin(), pixels.end());
    bytes.resize(directory_offset);

    const auto channels = static_cast<std::uint32_t>(channel_count(request.channels));
    const auto bits = static_cast<std::uint32_t>(bits_per_sample(request.depth));
    const auto width = static_cast<std::uint32_t>(request.width);
    const auto height = static_cast<std::uint32_t>(request.height);
    constexpr std::uint32_t deflate = 8, grey = 1, rgb = 2, unassociated_alpha = 2, unsigned_integer = 1,
                            floating = 3;
    constexpr std::uint32_t unit = 10000;
    Directory directory(directory_offset, channels == 4 ? 14 : 13);
    directory.add(256, is_long, {width});
    directory.add(257, is_long, {height});
    if (channels == 4)
        directory.add(258, is_short, {bits, bits, bits, bits});
    else if (channels == 3)
        directory.add(258, is_short, {bits, bits, bits});
    else
        directory.add(258, is_short, {bits});
    directory.add(259, is_short, {deflate});
    directory.add(262, is_short, {channels == 1 ? grey : rgb});
    directory.add(273, is_long, {pixels_offset});
    directory.add(277, is_short, {channels});
    directory.add(278, is_long, {height});
    directory.add(279, is_long, {size});
    directory.add(282, is_rational, {unit, 1});
    directory.add(283, is_rational,
                  {static_cast<std::uint32_t>(std::lround(unit * request.pixel_aspect)), 1});
    directory.add(296, is_short, {1});  // the resolution has no unit
    if (channels == 4) directory.add(338, is_short, {unassociated_alpha});
    const std::uint32_t kind = request.depth == SampleDepth::float32 ? floating : unsigned_integer;
    if (channels == 4)
        directory.add(339, is_short, {kind, kind, kind, kind});
    else if (channels == 3)
        directory.add(339, is_short, {kind, kind, kind});
    else
        directory.add(339, is_short, {kind});
    directory.append_to(bytes);
}

}  // namespace corrivane
