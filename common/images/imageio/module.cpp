#include "images/imageio/codec.h"

namespace {

constexpr corrivane::ImageModule module_functions{corrivane::encode_image, corrivane::verify_image,
                                                  corrivane::shrink_image};

}  // namespace

extern "C" __attribute__((visibility("default"))) const corrivane::ImageModule* corrivane_image_module() {
    return &module_functions;
}
