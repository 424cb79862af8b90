#pragma once

#include "scene/byte_range.h"
#include "scene/load_context.h"

namespace corrivane::host {

/// Decodes a PNG or JPEG. The size in its header is checked against the limits before anything is allocated.
/// Gamma and colour profiles are ignored, as glTF wants it. A JPEG whose data ends early or makes no sense is shown
/// as far as it can be made out, with a warning; a damaged PNG refuses the scene.
TextureImage decode_image(LoadContext& context, ByteRange encoded, const json::Value& image);

/// What is seen in place of an image that is not there: a grey checker.
TextureImage missing_image();

}  // namespace corrivane::host
