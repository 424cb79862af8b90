#include "scene/image_decoder.h"

#include "scene/limits.h"

#include <tiny_gltf.h>

#include <cstring>
#include <optional>

namespace corrivane::host {

namespace {

struct ImageSize {
    std::uint64_t width = 0;
    std::uint64_t height = 0;
};

std::uint64_t big_endian(const unsigned char* bytes, int count) {
    std::uint64_t value = 0;
    for (int i = 0; i < count; ++i)
        value = value << 8 | bytes[i];
    return value;
}

/// PNG: signature, then the IHDR chunk with width and height in its first eight bytes.
std::optional<ImageSize> png_size(ByteRange file) {
    static constexpr unsigned char signature[] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
    if (file.size < 24 || std::memcmp(file.data, signature, sizeof signature) != 0) return std::nullopt;
    return ImageSize{big_endian(file.data + 16, 4), big_endian(file.data + 20, 4)};
}

/// JPEG: segments up to the start-of-frame marker, which holds precision, height and width.
std::optional<ImageSize> jpeg_size(ByteRange file) {
    if (file.size < 4 || file.data[0] != 0xff || file.data[1] != 0xd8) return std::nullopt;
    std::uint64_t at = 2;
    while (at + 9 <= file.size) {
        if (file.data[at] != 0xff) return std::nullopt;
        const unsigned char marker = file.data[at + 1];
        if (marker == 0xff) {  // fill byte
            ++at;
            continue;
        }
        const bool start_of_frame =
            marker >= 0xc0 && marker <= 0xcf && marker != 0xc4 && marker != 0xc8 && marker != 0xcc;
        if (start_of_frame) {
            return ImageSize{big_endian(file.data + at + 7, 2), big_endian(file.data + at + 5, 2)};
        }
        at += 2 + big_endian(file.data + at + 2, 2);
    }
    return std::nullopt;
}

/// tinygltf gives 16-bit channels for 16-bit files.
std::vector<std::uint8_t> to_8_bits(const std::vector<unsigned char>& pixels) {
    std::vector<std::uint8_t> result(pixels.size() / 2);
    for (std::size_t i = 0; i < result.size(); ++i) {
        std::uint16_t value = 0;
        std::memcpy(&value, pixels.data() + 2 * i, sizeof value);
        result[i] = static_cast<std::uint8_t>((value * 255u + 32767u) / 65535u);
    }
    return result;
}

}  // namespace

TextureImage decode_image(LoadContext& context, ByteRange encoded, const std::string& who) {
    std::optional<ImageSize> size = png_size(encoded);
    if (!size) size = jpeg_size(encoded);
    if (!size) context.fail(who + " is neither PNG nor JPEG");
    constexpr std::uint64_t side = limits::image_side;
    if (size->width == 0 || size->height == 0 || size->width > side || size->height > side ||
        size->width * size->height > limits::image_pixels) {
        context.fail(who + ": " + std::to_string(size->width) + "x" + std::to_string(size->height) +
                     " pixels are not supported");
    }
    context.take_pixels(size->width * size->height, who);

    tinygltf::Image decoded;
    std::string why;
    if (!tinygltf::LoadImageData(&decoded, 0, &why, nullptr, int(size->width), int(size->height),
                                 encoded.data, int(encoded.size), nullptr)) {
        context.fail(who + " cannot be decoded");
    }
    TextureImage image{decoded.width, decoded.height, {}};
    image.rgba = decoded.bits == 16 ? to_8_bits(decoded.image) : std::move(decoded.image);
    return image;
}

TextureImage missing_image() {
    constexpr int side = 8;
    TextureImage image{side, side, {}};
    for (int i = 0; i < side * side; ++i) {
        const std::uint8_t grey = (i / side + i % side) % 2 == 0 ? 110 : 150;
        image.rgba.insert(image.rgba.end(), {grey, grey, grey, 255});
    }
    return image;
}

}  // namespace corrivane::host
