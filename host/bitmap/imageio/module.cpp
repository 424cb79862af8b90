#include "bitmap/imageio/codec.h"

namespace {

constexpr corrivane::host::ImageModule module_functions{corrivane::host::encode_image,
                                                        corrivane::host::verify_image};

}  // namespace

extern "C" __attribute__((visibility("default"))) const corrivane::host::ImageModule*
corrivane_image_module() {
    return &module_functions;
}
