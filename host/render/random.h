#pragma once

#include <ImathVec.h>

#include <cmath>
#include <cstdint>

// Numbers that look random and depend on nothing but their arguments, so that a pixel is the same whichever
// thread renders it, in whatever order, and in whatever region.
namespace corrivane::host {

/// Mixes all bits of two words into one (the finalizer of MurmurHash3 over their combination).
inline std::uint32_t hash(std::uint32_t a, std::uint32_t b) {
    std::uint32_t h = a * 0x9e3779b9u ^ (b + 0x7f4a7c15u);
    h ^= h >> 16;
    h *= 0x85ebca6bu;
    h ^= h >> 13;
    h *= 0xc2b2ae35u;
    return h ^ h >> 16;
}

/// Point `index` of a sequence that fills the unit square evenly, however many points are taken (M. Roberts,
/// "The unreasonable effectiveness of quasirandom sequences": the R2 sequence), shifted by `seed`. Counted in
/// units of 2^-32, where wrapping round is exact.
inline Imath::V2f spread_point(std::uint32_t seed, std::uint32_t index) {
    const std::uint32_t x = hash(seed, 0) + index * 3242174889u;
    const std::uint32_t y = hash(seed, 1) + index * 2447445414u;
    // 24 bits: what a float holds exactly, so the result stays below 1.
    return {static_cast<float>(x >> 8) * 0x1p-24f, static_cast<float>(y >> 8) * 0x1p-24f};
}

}  // namespace corrivane::host
