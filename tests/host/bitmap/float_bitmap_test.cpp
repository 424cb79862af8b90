#include "bitmap/float_bitmap.h"

#include "bitmap_test_support.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <tuple>

namespace corrivane::host {
namespace {

bool same(const BMM_Color_fl& left, const BMM_Color_fl& right) {
    return left.r == right.r && left.g == right.g && left.b == right.b && left.a == right.a;
}

BitmapInfo sized(int width, int height) {
    BitmapInfo info;
    info.SetWidth(std::uint16_t(width));
    info.SetHeight(std::uint16_t(height));
    return info;
}

TEST(FloatBitmap, IsCreatedBlackInContiguousAlignedRows) {
    const std::int64_t before = live_bitmaps();
    for (const auto& [width, height] : {std::pair{1, 1}, {37, 19}, {1920, 1080}, {65535, 1}, {1, 65535}}) {
        OwnedBitmap bitmap(dynamic_cast<FloatBitmap*>(TheManager->Create(sized(width, height))));
        ASSERT_TRUE(bitmap);
        EXPECT_EQ(live_bitmaps(), before + 1);
        EXPECT_EQ(bitmap->Width(), width);
        EXPECT_EQ(bitmap->Height(), height);
        EXPECT_TRUE(bitmap->HasStorage());
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(bitmap->pixels()) % 4096, 0U);
        EXPECT_EQ(bitmap->FloatRow(height - 1), bitmap->pixels() + std::ptrdiff_t(height - 1) * width);
        EXPECT_TRUE(same(bitmap->pixels()[std::ptrdiff_t(width) * height - 1], {0, 0, 0, 0}));
    }
    EXPECT_EQ(live_bitmaps(), before);
}

TEST(FloatBitmap, AbsurdSizesGiveNull) {
    const std::uint64_t before = bitmap_counts().created;
    for (const auto& [width, height] : {std::pair{0, 10},
                                        {10, 0},
                                        {65535, 65535},
                                        {-1, 10},
                                        {10, -1},
                                        {INT_MAX, INT_MAX},
                                        {INT_MIN, INT_MIN}})
        EXPECT_EQ(FloatBitmap::make(width, height), nullptr) << width << " x " << height;
    EXPECT_EQ(TheManager->Create(sized(65535, 65535)), nullptr);
    EXPECT_EQ(bitmap_counts().created, before);
}

TEST(FloatBitmap, ReadsOutsideTheImageAreRefused) {
    const OwnedBitmap bitmap = make_pattern(8, 4);
    BMM_Color_fl pixels[8];
    const std::tuple<int, int, int, bool> cases[] = {
        {0, 0, 8, true},        {7, 3, 1, true},   {3, 2, 0, true},        {8, 0, 0, true},
        {0, 0, 9, false},       {1, 0, 8, false},  {-1, 0, 2, false},      {0, -1, 1, false},
        {0, 4, 1, false},       {0, 0, -1, false}, {INT_MAX, 0, 1, false}, {2, 0, INT_MAX, false},
        {INT_MIN, 0, 1, false},
    };
    for (const auto& [x, y, count, allowed] : cases) {
        EXPECT_EQ(bitmap->GetPixels(x, y, count, pixels), allowed) << x << " " << y << " " << count;
    }
    ASSERT_TRUE(bitmap->GetPixels(5, 2, 3, pixels));
    EXPECT_TRUE(same(pixels[0], bitmap->row(2)[5]));
    EXPECT_TRUE(same(pixels[2], bitmap->row(2)[7]));
    EXPECT_EQ(bitmap->FloatRow(-1), nullptr);
    EXPECT_EQ(bitmap->FloatRow(4), nullptr);
}

/// What the copy must give, pixel by pixel.
void expect_placed(const FloatBitmap& target, const FloatBitmap& source, int left, int top,
                   BMM_Color_fl fill) {
    for (std::int64_t y = 0; y < target.Height(); ++y) {
        for (std::int64_t x = 0; x < target.Width(); ++x) {
            const std::int64_t from_x = x - left;
            const std::int64_t from_y = y - top;
            const bool covered =
                from_x >= 0 && from_y >= 0 && from_x < source.Width() && from_y < source.Height();
            const BMM_Color_fl expected = covered ? source.row(int(from_y))[from_x] : fill;
            ASSERT_TRUE(same(target.row(int(y))[x], expected))
                << x << ", " << y << " with source at " << left << ", " << top;
        }
    }
}

TEST(FloatBitmap, CopyPlacesTheSourceWhereItIsAskedForAndFillsTheRest) {
    const BMM_Color_fl fill{-1, -2, -3, -4};
    const auto expect_copy = [&](const FloatBitmap& source, int left, int top, bool asked) {
        const OwnedBitmap target = make_pattern(7, 6);
        BitmapInfo info;
        if (asked) info.SetCustomFlags(BMM_CUSTOM_POSITION);
        info.SetCustomX(left);
        info.SetCustomY(top);
        target->CopyImage(source, COPY_IMAGE_USE_CUSTOM, fill, info);
        expect_placed(*target, source, asked ? left : 0, asked ? top : 0, fill);
    };
    for (const auto& [width, height] : {std::pair{5, 4}, {12, 9}, {3, 11}, {1, 1}}) {
        const OwnedBitmap source = make_pattern(width, height);
        expect_copy(*source, 2, 2, false);
        for (const int left : {INT_MIN, -12, -5, -4, -1, 0, 1, 3, 6, 7, INT_MAX}) {
            for (const int top : {INT_MIN, -9, -4, -3, 0, 2, 5, 6, INT_MAX})
                expect_copy(*source, left, top, true);
        }
    }
}

TEST(FloatBitmap, WindowIsRecordedUntilItsBitmapTakesItAway) {
    const FrameBufferWindow& window = last_frame_buffer_window();
    const int before = window.number;
    OwnedBitmap first = make_pattern(8, 4);
    const OwnedBitmap second = make_pattern(3, 2);
    first->Display(nullptr, 5, false, true, nullptr, nullptr);
    second->UnDisplay();
    EXPECT_TRUE(window.number == before + 1 && window.title.empty() && window.position == 5);
    EXPECT_TRUE(window.save_button && !window.autonomous && window.width == 8 && window.height == 4);
    EXPECT_TRUE(window.open);
    first.reset();
    EXPECT_FALSE(window.open);
    second->Display("pass 2", 0, true, false, nullptr, nullptr);
    EXPECT_TRUE(window.number == before + 2 && window.title == "pass 2" && window.open);
    second->UnDisplay();
    EXPECT_FALSE(window.open);
}

}  // namespace
}  // namespace corrivane::host
