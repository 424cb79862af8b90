#pragma once

#include "images/imageio/plain/byte_order.h"

namespace corrivane {

/// A whole zlib stream of the bytes, made fast: run lengths only. Throws std::runtime_error.
Bytes deflated(const Bytes& bytes);

}  // namespace corrivane
