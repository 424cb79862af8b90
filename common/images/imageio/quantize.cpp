#include "images/imageio/quantize.h"

#include <emmintrin.h>

#include <cstdint>
#include <cstring>
#include <limits>

namespace corrivane {

namespace {

/// One pixel as four integers from 0 to `largest`.
__m128i quantized(const float* pixel, __m128 largest) {
    const __m128 scaled = _mm_add_ps(_mm_mul_ps(_mm_loadu_ps(pixel), largest), _mm_set1_ps(0.5F));
    // The order of the operands makes zero of what is not a number.
    const __m128 positive = _mm_max_ps(scaled, _mm_setzero_ps());
    return _mm_cvttps_epi32(_mm_min_ps(positive, largest));
}

void narrow(__m128i pixel, std::uint8_t (&samples)[4]) {
    const __m128i words = _mm_packs_epi32(pixel, pixel);
    const int bytes = _mm_cvtsi128_si32(_mm_packus_epi16(words, words));
    std::memcpy(samples, &bytes, sizeof samples);
}

void narrow(__m128i pixel, std::uint16_t (&samples)[4]) {
    // SSE2 packs into signed words only, so the values are moved into their range and back.
    const __m128i centred = _mm_sub_epi32(pixel, _mm_set1_epi32(0x8000));
    const __m128i words = _mm_xor_si128(_mm_packs_epi32(centred, centred), _mm_set1_epi16(-0x8000));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(samples), words);
}

template <class Sample, ImageChannels channels>
void quantize(const float* rgba, std::size_t count, unsigned char* out) {
    constexpr std::size_t size = channel_count(channels) * sizeof(Sample);
    const __m128 largest = _mm_set1_ps(std::numeric_limits<Sample>::max());
    for (const float* end = rgba + 4 * count; rgba != end; rgba += 4, out += size) {
        Sample samples[4];
        narrow(quantized(rgba, largest), samples);
        std::memcpy(out, samples + first_channel(channels), size);
    }
}

template <class Sample>
void quantize(const float* rgba, std::size_t count, ImageChannels channels,
              std::vector<unsigned char>& samples) {
    const std::size_t size = count * channel_count(channels) * sizeof(Sample);
    if (samples.size() < size) samples.resize(size);
    switch (channels) {
        case ImageChannels::rgba:
            return quantize<Sample, ImageChannels::rgba>(rgba, count, samples.data());
        case ImageChannels::rgb:
            return quantize<Sample, ImageChannels::rgb>(rgba, count, samples.data());
        case ImageChannels::alpha:
            return quantize<Sample, ImageChannels::alpha>(rgba, count, samples.data());
    }
}

}  // namespace

void quantize_pixels(const float* rgba, std::size_t count, SampleDepth depth, ImageChannels channels,
                     std::vector<unsigned char>& samples) {
    if (depth == SampleDepth::bits8) {
        quantize<std::uint8_t>(rgba, count, channels, samples);
    } else {
        quantize<std::uint16_t>(rgba, count, channels, samples);
    }
}

}  // namespace corrivane
