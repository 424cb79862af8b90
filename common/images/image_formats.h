#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string_view>

// What is known of the image formats that frames are written in: one row a format, in image_formats.cpp. The
// host's writer, its encoder and the worker's checks read it there.
namespace corrivane {

/// How one channel of a pixel is stored.
enum class SampleDepth { bits8, bits16, half, float32 };

/// A setting of the image library's writer: a text, or the number where there is none.
struct WriterSetting {
    const char* name = nullptr;
    const char* text = nullptr;
    int number = 0;
};

struct ImageFormat {
    const char* name;                         ///< "PNG"
    std::array<std::string_view, 2> endings;  ///< lower case, with the dot; the second may be empty
    SampleDepth ordinary;                     ///< for a description of 8 bits or of no known type
    SampleDepth deep;                         ///< for one of 16 bits a channel
    SampleDepth floating;                     ///< for one of 32-bit floating point
    bool has_alpha;
    bool splits_alpha = false;         ///< the writer can put the alpha into a file of its own
    int largest_side = INT32_MAX;      ///< pixels
    std::uint64_t largest_bytes = -1;  ///< of pixels that are not compressed
    /// Settings that write fast and still compress: the frame's next user waits for the disk and the network
    /// as well.
    std::array<WriterSetting, 3> settings = {};
};

std::span<const ImageFormat> image_formats();

/// The format that the extension of a file name stands for, in any case of letters; null for none.
const ImageFormat* find_image_format(std::string_view file_name);

/// The part of a file name from the last dot of its last element on, the dot included; empty when there is
/// none. Elements are parted by `\`, `/` and a drive's `:`.
std::string_view name_extension(std::string_view file_name);

}  // namespace corrivane
