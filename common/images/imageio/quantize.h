#pragma once

#include "images/image_module.h"

#include <cstddef>
#include <vector>

namespace corrivane {

/// How many of a pixel's four floats go into a file, and the first of them.
constexpr int channel_count(ImageChannels channels) {
    return channels == ImageChannels::rgba ? 4 : channels == ImageChannels::rgb ? 3 : 1;
}
constexpr int first_channel(ImageChannels channels) {
    return channels == ImageChannels::alpha ? 3 : 0;
}

/// Turns `count` RGBA float pixels into 8-bit or 16-bit samples of the wanted channels, in this machine's
/// byte order, without gaps. Rounds and clamps as ImageModule::encode says. `samples` is grown as needed; its
/// first bytes are the result. One pass with SSE2: with the image library's own
/// conversion, saving a BMP, TGA or JPEG file takes three to four times as long.
void quantize_pixels(const float* rgba, std::size_t count, SampleDepth depth, ImageChannels channels,
                     std::vector<unsigned char>& samples);

}  // namespace corrivane
