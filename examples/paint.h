#pragma once

#include <ImathColor.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

/// Colour (sRGB, 0 to 1) at a place in an image, u and v from 0 to 1 from its top left corner.
using Paint = std::function<Imath::C3f(float u, float v)>;

/// A square PNG of the paint as a data: URI.
std::string png_uri(const Paint& paint, int side);

Imath::C3f beach_ball(float u, float v);
Imath::C3f crate(float u, float v);
Imath::C3f wood_rings(float u, float v);
