#pragma once

#include "images/image_module.h"

#include <vector>

namespace corrivane {

// One writer a format, for where there is no image library. Each appends a whole file to `bytes`, and throws
// std::runtime_error for what the format cannot hold.

using ImageWriter = void (*)(const EncodeRequest& request, std::vector<unsigned char>& bytes);

void write_png(const EncodeRequest& request, std::vector<unsigned char>& bytes);
void write_jpeg(const EncodeRequest& request, std::vector<unsigned char>& bytes);
void write_bmp(const EncodeRequest& request, std::vector<unsigned char>& bytes);
void write_tga(const EncodeRequest& request, std::vector<unsigned char>& bytes);
void write_tiff(const EncodeRequest& request, std::vector<unsigned char>& bytes);
void write_exr(const EncodeRequest& request, std::vector<unsigned char>& bytes);

}  // namespace corrivane
