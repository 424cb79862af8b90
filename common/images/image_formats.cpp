#include "images/image_formats.h"

#include <algorithm>

namespace corrivane {

namespace {

using enum SampleDepth;

/// Formats that count their bytes in 32 bits.
constexpr std::uint64_t four_gigabytes = UINT32_MAX;

constexpr ImageFormat formats[] = {
    {.name = "PNG",
     .endings = {".png"},
     .ordinary = bits8,
     .deep = bits16,
     .floating = bits16,
     .has_alpha = true,
     // Run lengths of pixel differences: a fifth faster than the quickest general compression, and no larger.
     .settings = {{{"compression", "rle"},
                   {"png:compressionLevel", nullptr, 1},
                   {"png:filter", nullptr, 16}}}},
    {.name = "JPEG",
     .endings = {".jpg", ".jpeg"},
     .ordinary = bits8,
     .deep = bits8,
     .floating = bits8,
     .has_alpha = false,
     .largest_side = 65500,
     .settings = {{{"compression", "jpeg:95"}}}},
    {.name = "BMP",
     .endings = {".bmp"},
     .ordinary = bits8,
     .deep = bits8,
     .floating = bits8,
     .has_alpha = true,
     .largest_bytes = four_gigabytes},
    {.name = "Targa",
     .endings = {".tga"},
     .ordinary = bits8,
     .deep = bits8,
     .floating = bits8,
     .has_alpha = true,
     .splits_alpha = true,
     .largest_bytes = four_gigabytes},
    {.name = "TIFF",
     .endings = {".tif", ".tiff"},
     .ordinary = bits8,
     .deep = bits16,
     .floating = float32,
     .has_alpha = true,
     // The writer reports a failure for the EXIF block of a file in memory, although the file is complete.
     .settings = {{{"compression", "zip:1"}, {"tiff:write_exif", nullptr, 0}}}},
    {.name = "OpenEXR",
     .endings = {".exr"},
     .ordinary = half,
     .deep = half,
     .floating = float32,
     .has_alpha = true,
     .settings = {{{"compression", "zip:1"}}}},
};

char lower(char letter) {
    return letter >= 'A' && letter <= 'Z' ? char(letter - 'A' + 'a') : letter;
}

bool ends_so(const ImageFormat& format, std::string_view extension) {
    return std::ranges::any_of(format.endings, [&](std::string_view ending) {
        return !ending.empty() && std::ranges::equal(extension, ending, {}, lower);
    });
}

}  // namespace

std::span<const ImageFormat> image_formats() {
    return formats;
}

const ImageFormat* find_image_format(std::string_view file_name) {
    const std::string_view extension = name_extension(file_name);
    const auto* found =
        std::ranges::find_if(formats, [&](const ImageFormat& format) { return ends_so(format, extension); });
    return found == std::end(formats) ? nullptr : found;
}

std::string_view name_extension(std::string_view file_name) {
    const std::size_t separator = file_name.find_last_of("\\/:");
    const std::string_view element =
        separator == std::string_view::npos ? file_name : file_name.substr(separator + 1);
    const std::size_t dot = element.rfind('.');
    return dot == std::string_view::npos ? std::string_view{} : element.substr(dot);
}

}  // namespace corrivane
