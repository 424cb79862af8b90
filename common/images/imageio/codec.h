#pragma once

#include "images/image_module.h"

#include <string>
#include <vector>

namespace corrivane {

// The module's functions, as ImageModule describes them.

void encode_image(const EncodeRequest& request, std::vector<unsigned char>& bytes);
ImageFacts verify_image(const std::string& path, ImageLook look);

void shrink_image(const std::string& path, int longest_side, std::vector<unsigned char>& jpeg);

}  // namespace corrivane
