#pragma once

#include "bitmap/image_module.h"

#include <optional>
#include <string_view>

namespace corrivane::host {

/// The part of a file name behind the last separator (`\`, `/`, or a drive's `:`).
std::string_view last_element(std::string_view name);

/// From the last dot of the last element on, the dot included; empty when there is none.
std::string_view name_extension(std::string_view name);

/// The format for the name's extension, whatever its case: .png .jpg .jpeg .bmp .tga .tif .tiff .exr; none
/// for others.
std::optional<ImageFormat> image_format(std::string_view name);

}  // namespace corrivane::host
