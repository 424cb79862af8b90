#pragma once

#include <cstddef>
#include <cstdint>

// How far the scene loader goes along with a file before it refuses it. Generous for real scenes; they keep a
// small hostile file from taking the machine's memory.
namespace corrivane::host::limits {

/// Of one file, scene, buffer or image; tinygltf counts bytes in 32 bits.
inline constexpr std::uint64_t file_bytes = (std::uint64_t{1} << 31) - 1;
/// Of arrays and objects in one another; tinygltf reads extras by recursion.
inline constexpr int json_depth = 100;
/// Decoded geometry and animation of a whole load: so much, and so many bytes more for each byte read. One
/// accessor may serve many primitives, and an accessor of zeros takes no room in the file at all.
inline constexpr std::uint64_t decoded_bytes = std::uint64_t{64} << 20;
inline constexpr std::uint64_t decoded_bytes_per_byte = 64;
inline constexpr int image_side = 16384;
inline constexpr std::uint64_t image_pixels = std::uint64_t{1} << 26;
inline constexpr std::uint64_t image_pixels_of_scene = std::uint64_t{1} << 28;
inline constexpr std::size_t xref_files = 256;
inline constexpr std::size_t warnings = 100;

}  // namespace corrivane::host::limits
