#pragma once

#include "scene/accessor_reader.h"
#include "scene/load_context.h"

#include <string>

namespace corrivane::host {

/// Decodes a PNG or JPEG. The size in its header is checked against the limits before anything is allocated.
TextureImage decode_image(LoadContext& context, ByteRange encoded, const std::string& who);

/// What is seen in place of an image that is not there: a grey checker.
TextureImage missing_image();

}  // namespace corrivane::host
