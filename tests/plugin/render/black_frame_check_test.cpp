#include "plugin/plugin_test.h"

#include <algorithm>
#include <limits>

namespace corrivane::test {
namespace {

using BlackFrameCheck = PluginTest;

std::unique_ptr<FakeBitmap> bitmap_of(std::uint16_t width, std::uint16_t height) {
    BitmapInfo info;
    info.SetWidth(width);
    info.SetHeight(height);
    return std::make_unique<FakeBitmap>("bitmap", info);
}

std::string failure_of(const FakeBitmap& bitmap) {
    return message_of([&] { job_state.check_black_frame(&bitmap); });
}

/// Whether one pixel counts as black, both ways of reading it.
bool is_black(BMM_Color_fl pixel, float threshold) {
    const auto bitmap = bitmap_of(1, 1);
    bitmap->pixel(0, 0) = pixel;
    job_state.blackFrameThreshold = threshold;
    job_state.blackFramePercentage = 100;
    const std::string from_floats = failure_of(*bitmap);
    bitmap->keeps_floats = false;
    EXPECT_EQ(failure_of(*bitmap), from_floats);
    return from_floats != "no exception";
}

TEST_F(BlackFrameCheck, PixelIsBlackByItsColourAndItsAlpha) {
    constexpr float nan = std::numeric_limits<float>::quiet_NaN();
    constexpr float infinity = std::numeric_limits<float>::infinity();
    const std::tuple<float, bool, std::vector<BMM_Color_fl>> cases[] = {
        {0, true, {{0, 0, 0, 0}, {0, 0, 0, 1}, {-1, -1, -1, -1}, {0, 0, 0, 2}}},
        {0, false, {{0, 0, 0, 0.5F}, {0.001F, 0, 0, 1}, {0, 0.001F, 0, 1}, {0, 0, 0.001F, 1}}},
        {0.1F, true, {{0.05F, 0.05F, 0.05F, 0.95F}, {0.1F, 0.1F, 0.1F, 0.1F}}},
        {0.1F,
         false,
         {{0, 0, 0, 0.89F}, {nan, 0, 0, 1}, {0, 0, nan, 1}, {0, 0, 0, nan}, {infinity, 0, 0, 1}}},
        {1, true, {{1, 1, 1, 0.5F}}}};
    for (const auto& [threshold, black, pixels] : cases)
        for (const BMM_Color_fl& pixel : pixels)
            EXPECT_EQ(is_black(pixel, threshold), black) << pixel.r << ' ' << pixel.b << ' ' << pixel.a;
}

TEST_F(BlackFrameCheck, ShareIsRoundedDownAndComparedWithTheMinimum) {
    const auto bitmap = bitmap_of(20, 10);
    for (int i = 0; i < 99; ++i)
        bitmap->pixel(i % 20, i / 20) = {0, 0, 0, 1};
    job_state.blackFrameThreshold = 0.25F;
    job_state.blackFramePercentage = 50;
    job_state.check_black_frame(bitmap.get());
    const std::string checked =
        "\nChecking if frame is black\n  blackPixelPercentage=50%\n"
        "  blackPixelThreshold=0.25\n99 of 200 pixels are considered black (49%)\n";
    EXPECT_EQ(log(), checked);
    job_state.blackFramePercentage = 49;
    EXPECT_EQ(failure_of(*bitmap),
              "49% of the output image is black, which equals or exceeds the minimum of 49%");
    EXPECT_THAT(log(), EndsWith("49% of the output image is considered black, failing render...\n"));

    const auto white = bitmap_of(2, 2);
    job_state.blackFramePercentage = 0;
    EXPECT_EQ(failure_of(*white),
              "0% of the output image is black, which equals or exceeds the minimum of 0%");
    EXPECT_NE(failure_of(*bitmap_of(0, 3)), "no exception");
}

/// An image that repeats its first row, so that a large one needs little memory.
struct Striped final : FakeBitmap {
    using FakeBitmap::FakeBitmap;
    const BMM_Color_fl* FloatRow(int) const override { return pixels.data(); }
};

TEST_F(BlackFrameCheck, SharesOfLargeImagesDoNotOverflow) {
    Striped bitmap("bitmap", bitmap_of(10'000, 1)->info);
    std::ranges::fill(bitmap.pixels, BMM_Color_fl{0, 0, 0, 1});
    bitmap.info.SetHeight(2'200);
    job_state.blackFramePercentage = 100;
    EXPECT_THAT(failure_of(bitmap), StartsWith("100% "));
    EXPECT_TRUE(logged("22000000 of 22000000 pixels are considered black (100%)\n"));
}

}  // namespace
}  // namespace corrivane::test
