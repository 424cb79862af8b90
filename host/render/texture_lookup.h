#pragma once

#include "scene/scene.h"

namespace corrivane::host {

/// The sRGB transfer function (IEC 61966-2-1), encoding; extended above 1 by the same formula, 0 below 0.
float linear_to_srgb(float linear);
/// Its inverse for an 8-bit value.
float srgb_to_linear(std::uint8_t encoded);

/// The texture's linear colour and alpha at glTF texture coordinates (v down from the top left corner),
/// wrapped and filtered as it asks. Any coordinates give a colour; those that are not finite count as 0.
Imath::C4f look_up(const Scene& scene, const Texture& texture, const Imath::V2f& uv);

}  // namespace corrivane::host
