#pragma once

#include <cstddef>
#include <cstdint>

// How far the scene loader goes along with a file before it refuses it. Generous for real scenes; they keep a
// small hostile file from taking the machine's memory.
namespace corrivane::host::limits {

/// Of one file, scene, buffer or image; the JSON reader counts bytes in 31 bits.
inline constexpr std::uint64_t file_bytes = (std::uint64_t{1} << 31) - 1;
/// Of arrays and objects in one another.
inline constexpr int json_depth = 100;
/// What a whole load holds at one time, but for pixels: so much, and so many bytes more for each byte read. One
/// accessor may serve many primitives, an accessor of zeros takes no room in the file at all, and a node takes
/// two bytes there.
inline constexpr std::uint64_t held_bytes = std::uint64_t{64} << 20;
inline constexpr std::uint64_t held_bytes_per_byte = 64;
inline constexpr int image_side = 16384;
inline constexpr std::uint64_t image_pixels = std::uint64_t{1} << 26;
inline constexpr std::uint64_t image_pixels_of_scene = std::uint64_t{1} << 28;
/// Each scan of a progressive JPEG goes over the whole image again.
inline constexpr int jpeg_scans = 200;
inline constexpr std::size_t xref_files = 256;
inline constexpr std::size_t warnings = 100;
/// Lengths and places, in scene units. What float can do with larger ones is no picture.
inline constexpr double length = 1e18;

}  // namespace corrivane::host::limits
