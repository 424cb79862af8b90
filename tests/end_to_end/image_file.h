#pragma once

#include <array>
#include <filesystem>
#include <vector>

namespace corrivane::test {

using Pixel = std::array<float, 4>;

/// An image file as floats, RGBA; formats without alpha read as opaque.
struct ImageFile {
    /// Throws std::runtime_error when it is no readable image.
    explicit ImageFile(const std::filesystem::path& file);

    const Pixel& at(int x, int y) const {
        return pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                      static_cast<std::size_t>(x)];
    }
    /// The pixels of a rectangle, row by row.
    std::vector<Pixel> part(int left, int top, int right, int bottom) const;

    int width = 0;
    int height = 0;
    int bits_per_channel = 0;
    std::vector<Pixel> pixels;
};

}  // namespace corrivane::test
