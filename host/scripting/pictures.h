#pragma once

#include "scene/scene.h"

#include <string>

namespace corrivane::host {

/// Reads a PNG or JPEG file, named by a Windows path, as a texture. A file that is not there gives the checker that
/// stands for missing images; one that is no such image is a MAXScript error.
TextureImage read_texture_image(const std::string& name);

}  // namespace corrivane::host
