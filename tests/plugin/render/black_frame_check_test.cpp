#include "plugin/plugin_test.h"

#include <algorithm>
#include <limits>
#include <memory>

namespace corrivane::test {
namespace {

using BlackFrameCheck = PluginTest;

std::unique_ptr<FakeBitmap> bitmap_of(std::uint16_t width, std::uint16_t height) {
    BitmapInfo info;
    info.SetWidth(width);
    info.SetHeight(height);
    return std::make_unique<FakeBitmap>("bitmap", info);
}

/// Whether one pixel counts as black, both ways of reading it.
bool is_black(BMM_Color_fl pixel, float threshold) {
    const auto bitmap = bitmap_of(1, 1);
    bitmap->pixel(0, 0) = pixel;
    job_state.blackFrameThreshold = threshold;
    job_state.blackFramePercentage = 100;
    const auto fails = [&] {
        return message_of([&] { job_state.check_black_frame(bitmap.get()); }) != "no exception";
    };
    const bool from_floats = fails();
    bitmap->keeps_floats = false;
    EXPECT_EQ(fails(), from_floats);
    return from_floats;
}

TEST_F(BlackFrameCheck, PixelIsBlackByItsColourAndItsAlpha) {
    constexpr float nan = std::numeric_limits<float>::quiet_NaN();
    constexpr float infinity = std::numeric_limits<float>::infinity();
    const struct {
        BMM_Color_fl pixel;
        float threshold;
        bool black;
    } cases[] = {
        {{0, 0, 0, 0}, 0, true},
        {{0, 0, 0, 1}, 0, true},
        {{0, 0, 0, 0.5F}, 0, false},
        {{0.001F, 0, 0, 1}, 0, false},
        {{0, 0.001F, 0, 1}, 0, false},
        {{0, 0, 0.001F, 1}, 0, false},
        {{-1, -1, -1, -1}, 0, true},
        {{0, 0, 0, 2}, 0, true},
        {{0.05F, 0.05F, 0.05F, 0.95F}, 0.1F, true},
        {{0.1F, 0.1F, 0.1F, 0.1F}, 0.1F, true},
        {{0, 0, 0, 0.89F}, 0.1F, false},
        {{nan, 0, 0, 1}, 0.1F, false},
        {{0, 0, nan, 1}, 0.1F, false},
        {{0, 0, 0, nan}, 0.1F, false},
        {{infinity, 0, 0, 1}, 0.1F, false},
        {{1, 1, 1, 0.5F}, 1, true},
    };
    int number = 0;
    for (const auto& [pixel, threshold, black] : cases)
        EXPECT_EQ(is_black(pixel, threshold), black) << number++;
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
    EXPECT_EQ(message_of([&] { job_state.check_black_frame(bitmap.get()); }),
              "49% of the output image is black, which equals or exceeds the minimum of 49%");
    EXPECT_TRUE(log().ends_with("49% of the output image is considered black, failing render...\n"));

    const auto white = bitmap_of(2, 2);
    job_state.blackFramePercentage = 0;
    EXPECT_EQ(message_of([&] { job_state.check_black_frame(white.get()); }),
              "0% of the output image is black, which equals or exceeds the minimum of 0%");
    EXPECT_NE(message_of([&] { job_state.check_black_frame(bitmap_of(0, 3).get()); }), "no exception");
}

/// An image that repeats its first row, so that a large one needs little memory.
struct Striped final : FakeBitmap {
    using FakeBitmap::FakeBitmap;
    const BMM_Color_fl* FloatRow(int) const override { return pixels.data(); }
};

TEST_F(BlackFrameCheck, SharesOfLargeImagesDoNotOverflow) {
    BitmapInfo info;
    info.SetWidth(10'000);
    info.SetHeight(1);
    Striped bitmap("bitmap", info);
    std::ranges::fill(bitmap.pixels, BMM_Color_fl{0, 0, 0, 1});
    bitmap.info.SetHeight(2'200);
    job_state.blackFramePercentage = 100;
    EXPECT_TRUE(message_of([&] { job_state.check_black_frame(&bitmap); }).starts_with("100% "));
    EXPECT_TRUE(logged("22000000 of 22000000 pixels are considered black (100%)\n"));
}

}  // namespace
}  // namespace corrivane::test
