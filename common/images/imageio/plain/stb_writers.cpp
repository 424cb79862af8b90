#include "images/imageio/plain/writers.h"
#include "images/imageio/quantize.h"

#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STB_IMAGE_WRITE_STATIC
#define STBI_WRITE_NO_STDIO
#include <stb/stb_image_write.h>

#include <stdexcept>

namespace corrivane {

namespace {

void append(void* file, void* data, int size) {
    auto& bytes = *static_cast<std::vector<unsigned char>*>(file);
    const auto* begin = static_cast<const unsigned char*>(data);
    bytes.insert(bytes.end(), begin, begin + size);
}

/// The image as 8-bit samples.
std::vector<unsigned char> samples_of(const EncodeRequest& request) {
    std::vector<unsigned char> samples;
    quantize_pixels(request.rgba, std::size_t(request.width) * std::size_t(request.height),
                    SampleDepth::bits8, request.channels, samples);
    return samples;
}

using Write = int (*)(stbi_write_func*, void*, int, int, int, const void*);

void write(Write function, const EncodeRequest& request, std::vector<unsigned char>& bytes) {
    const std::vector<unsigned char> samples = samples_of(request);
    if (!function(append, &bytes, request.width, request.height, channel_count(request.channels),
                  samples.data()))
        throw std::runtime_error("the image cannot be written");
}

}  // namespace

void write_jpeg(const EncodeRequest& request, std::vector<unsigned char>& bytes) {
    write(
        [](stbi_write_func* append_to, void* file, int width, int height, int channels, const void* samples) {
            return stbi_write_jpg_to_func(append_to, file, width, height, channels, samples, 95);
        },
        request, bytes);
}

void write_bmp(const EncodeRequest& request, std::vector<unsigned char>& bytes) {
    write(stbi_write_bmp_to_func, request, bytes);
}

void write_tga(const EncodeRequest& request, std::vector<unsigned char>& bytes) {
    stbi_write_tga_with_rle = 0;
    write(stbi_write_tga_to_func, request, bytes);
}

}  // namespace corrivane
