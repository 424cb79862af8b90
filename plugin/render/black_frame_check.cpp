#include "render/job_state.h"
#include "support/log.h"

#include <emmintrin.h>

#include <limits>
#include <stdexcept>
#include <vector>

namespace {

/// Counts the black pixels of a row: no channel of colour above the threshold, and an alpha within the
/// threshold of 0 or of 1. Not-a-number is never black.
long long count_black_pixels(const BMM_Color_fl* row, int width, float threshold) {
    constexpr float nan = std::numeric_limits<float>::quiet_NaN();
    constexpr int all_channels = 0xF;
    const __m128 highest = _mm_set1_ps(threshold);
    // Comparing with not-a-number is false: only alpha has a second range.
    const __m128 opaque = _mm_setr_ps(nan, nan, nan, 1.0F - threshold);
    long long black = 0;
    for (int x = 0; x < width; ++x) {
        const __m128 pixel = _mm_loadu_ps(&row[x].r);
        const __m128 within = _mm_or_ps(_mm_cmple_ps(pixel, highest), _mm_cmpge_ps(pixel, opaque));
        black += _mm_movemask_ps(within) == all_channels;
    }
    return black;
}

long long count_black_pixels(const Bitmap& bitmap, float threshold) {
    std::vector<BMM_Color_fl> copied;
    long long black = 0;
    for (int y = 0; y < bitmap.Height(); ++y) {
        const BMM_Color_fl* row = bitmap.FloatRow(y);
        if (row == nullptr) {
            copied.resize(static_cast<std::size_t>(bitmap.Width()));
            if (!bitmap.GetPixels(0, y, bitmap.Width(), copied.data()))
                throw std::runtime_error("The pixels of the output image cannot be read.");
            row = copied.data();
        }
        black += count_black_pixels(row, bitmap.Width(), threshold);
    }
    return black;
}

}  // namespace

void JobState::check_black_frame(const Bitmap* bitmap) const {
    connect_log.entry("\nChecking if frame is black");
    connect_log.entry("  blackPixelPercentage=", blackFramePercentage, "%");
    connect_log.entry("  blackPixelThreshold=", blackFrameThreshold);

    const long long total = static_cast<long long>(bitmap->Width()) * bitmap->Height();
    if (total == 0)
        throw std::runtime_error("The output image has no pixels that could be checked for blackness.");
    const long long black = count_black_pixels(*bitmap, blackFrameThreshold);
    const long long percent = black * 100 / total;
    connect_log.entry(black, " of ", total, " pixels are considered black (", percent, "%)");
    if (percent < blackFramePercentage) return;

    connect_log.entry(percent, "% of the output image is considered black, failing render...");
    throw std::runtime_error(std::to_string(percent) +
                             "% of the output image is black, which equals or exceeds the minimum of " +
                             std::to_string(blackFramePercentage) + "%");
}
