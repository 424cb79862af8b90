#include "images/imageio/codec.h"

#define STB_IMAGE_IMPLEMENTATION
#define STB_IMAGE_STATIC
#include <stb/stb_image.h>

#include <memory>
#include <stdexcept>

namespace corrivane {

/// PNG, JPEG, BMP and Targa, always to the last pixel.
ImageFacts verify_image(const std::string& path, ImageLook /*look*/) {
    ImageFacts facts;
    const std::unique_ptr<stbi_uc, void (*)(void*)> pixels(
        stbi_load(path.c_str(), &facts.width, &facts.height, &facts.channels, 0), stbi_image_free);
    if (!pixels) throw std::runtime_error(stbi_failure_reason());
    return facts;
}

}  // namespace corrivane
