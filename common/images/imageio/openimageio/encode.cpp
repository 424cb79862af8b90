#include "images/imageio/codec.h"
#include "images/imageio/quantize.h"

#include <OpenImageIO/filesystem.h>
#include <OpenImageIO/imageio.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <stdexcept>
#include <string>

namespace corrivane {

namespace {

/// A name that makes the image library choose the format's writer; no file of that name is touched.
std::string format_file_name(const ImageFormat& format) {
    return "image" + std::string(format.endings.front());
}

OIIO::TypeDesc sample_type(SampleDepth depth) {
    switch (depth) {
        case SampleDepth::bits8:
            return OIIO::TypeUInt8;
        case SampleDepth::bits16:
            return OIIO::TypeUInt16;
        case SampleDepth::half:
            return OIIO::TypeHalf;
        case SampleDepth::float32:
            return OIIO::TypeFloat;
    }
    return OIIO::TypeUnknown;
}

OIIO::ImageSpec file_spec(const EncodeRequest& request) {
    OIIO::ImageSpec spec(request.width, request.height, channel_count(request.channels),
                         sample_type(request.depth));
    spec.attribute("PixelAspectRatio", request.pixel_aspect);
    // The pixels go into the file as they are: without this, PNG and TGA divide colour by alpha.
    spec.attribute("oiio:UnassociatedAlpha", 1);
    for (const WriterSetting& setting : request.format->settings) {
        if (setting.text != nullptr)
            spec.attribute(setting.name, setting.text);
        else if (setting.name != nullptr)
            spec.attribute(setting.name, setting.number);
    }
    return spec;
}

bool write_integer_rows(OIIO::ImageOutput& output, const EncodeRequest& request, int top, int bottom,
                        std::vector<unsigned char>& samples) {
    const float* rgba = request.rgba + 4 * std::size_t(top) * request.width;
    const std::size_t count = std::size_t(bottom - top) * request.width;
    quantize_pixels(rgba, count, request.depth, request.channels, samples);
    return output.write_scanlines(top, bottom, 0, sample_type(request.depth), samples.data());
}

bool write_float_rows(OIIO::ImageOutput& output, const EncodeRequest& request, int top, int bottom) {
    const float* rgba = request.rgba + 4 * std::size_t(top) * request.width;
    return output.write_scanlines(top, bottom, 0, OIIO::TypeFloat, rgba + first_channel(request.channels),
                                  4 * sizeof(float));
}

/// Band by band, since handing over the whole image makes the library convert all of it first: a third of the
/// time of a half EXR file. Integers come in bands that stay in the processor's cache, floats in bands of as
/// many compressed blocks as there may be threads to work on.
bool write_pixels(OIIO::ImageOutput& output, const EncodeRequest& request) {
    const bool integers = request.depth == SampleDepth::bits8 || request.depth == SampleDepth::bits16;
    const int rows = integers ? 64 : 512;
    std::vector<unsigned char> samples;
    for (int top = 0; top < request.height; top += rows) {
        const int bottom = std::min(top + rows, request.height);
        const bool written = integers ? write_integer_rows(output, request, top, bottom, samples)
                                      : write_float_rows(output, request, top, bottom);
        if (!written) return false;
    }
    return true;
}

/// Room for the whole file where it is not compressed: growing step by step costs more than the pixels do.
/// Pages that are not used are never touched.
std::size_t expected_size(const OIIO::ImageSpec& spec) {
    constexpr std::size_t headers = 4096;
    constexpr std::size_t most = std::size_t{64} << 20;
    return std::min<std::size_t>(spec.image_bytes() + headers, most);
}

}  // namespace

void encode_image(const EncodeRequest& request, std::vector<unsigned char>& bytes) {
    // The JPEG writer ends the process for this.
    if (std::max(request.width, request.height) > request.format->largest_side)
        throw std::runtime_error("too large for a " + std::string(request.format->name) + " file");
    const std::string name = format_file_name(*request.format);
    OIIO::Filesystem::IOVecOutput sink(bytes);
    const std::unique_ptr<OIIO::ImageOutput> output = OIIO::ImageOutput::create(name, &sink);
    if (!output) throw std::runtime_error(OIIO::geterror());

    const OIIO::ImageSpec spec = file_spec(request);
    bytes.reserve(expected_size(spec));
    if (!output->open(name, spec) || !write_pixels(*output, request) || !output->close()) {
        throw std::runtime_error(output->geterror());
    }
}

}  // namespace corrivane
