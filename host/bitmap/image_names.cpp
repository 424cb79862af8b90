#include "bitmap/image_names.h"

#include <max/bitmap.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace corrivane::host {

namespace {

struct Extension {
    std::string_view text;
    ImageFormat format;
    const char* format_name;
};

constexpr std::array<Extension, 8> extensions{{
    {".png", ImageFormat::png, "PNG"},
    {".jpg", ImageFormat::jpeg, "JPEG"},
    {".jpeg", ImageFormat::jpeg, "JPEG"},
    {".bmp", ImageFormat::bmp, "BMP"},
    {".tga", ImageFormat::tga, "Targa"},
    {".tif", ImageFormat::tiff, "TIFF"},
    {".tiff", ImageFormat::tiff, "TIFF"},
    {".exr", ImageFormat::exr, "OpenEXR"},
}};

char lower(char letter) {
    return letter >= 'A' && letter <= 'Z' ? char(letter - 'A' + 'a') : letter;
}

const Extension* find_extension(std::string_view name) {
    const std::string_view wanted = name_extension(name);
    const auto found = std::ranges::find_if(extensions, [&](const Extension& extension) {
        return std::ranges::equal(wanted, extension.text, {}, lower);
    });
    return found == extensions.end() ? nullptr : found;
}

/// At least four digits, a sign in front of them.
std::string frame_digits(int frame) {
    char digits[16];
    std::snprintf(digits, sizeof digits, "%s%04lld", frame < 0 ? "-" : "", std::llabs(frame));
    return digits;
}

}  // namespace

std::string_view last_element(std::string_view name) {
    const std::size_t separator = name.find_last_of("\\/:");
    return separator == std::string_view::npos ? name : name.substr(separator + 1);
}

std::string_view name_extension(std::string_view name) {
    const std::string_view element = last_element(name);
    const std::size_t dot = element.rfind('.');
    return dot == std::string_view::npos ? std::string_view{} : element.substr(dot);
}

std::optional<ImageFormat> image_format(std::string_view name) {
    const Extension* extension = find_extension(name);
    return extension ? std::optional(extension->format) : std::nullopt;
}

}  // namespace corrivane::host

const char* BMMFormatName(const char* fileName) {
    const auto* extension = corrivane::host::find_extension(fileName ? fileName : "");
    return extension ? extension->format_name : "";
}

bool BMMCreateNumberedFilename(const char* name, int frame, char* numbered) {
    numbered[0] = '\0';
    if (!name) return false;
    std::string text = name;
    text.insert(text.size() - corrivane::host::name_extension(text).size(),
                corrivane::host::frame_digits(frame));
    if (text.size() >= BMM_MAX_PATH) return false;
    std::memcpy(numbered, text.c_str(), text.size() + 1);
    return true;
}
