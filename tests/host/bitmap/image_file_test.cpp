
#include "bitmap_test_support.h"

#include <OpenImageIO/imageio.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

namespace corrivane::host {
namespace {

struct StoredImage {
    OIIO::ImageSpec spec;
    std::vector<float> samples;

    const float* pixel(int x, int y) const {
        return &samples[(std::size_t(y) * spec.width + x) * spec.nchannels];
    }
};

/// The pixels as stored: not multiplied by alpha.
StoredImage read_image(const std::string& path) {
    OIIO::ImageSpec as_stored;
    as_stored.attribute("oiio:UnassociatedAlpha", 1);
    const auto input = OIIO::ImageInput::open(path, &as_stored);
    if (!input) throw std::runtime_error(OIIO::geterror());
    StoredImage image{input->spec(),
                      std::vector<float>(input->spec().image_pixels() * input->spec().nchannels)};
    if (!input->read_image(0, 0, 0, image.spec.nchannels, OIIO::TypeFloat, image.samples.data())) {
        throw std::runtime_error(input->geterror());
    }
    return image;
}

/// What a sample of that type holds for `value`.
float stored(float value, const OIIO::TypeDesc& type) {
    if (type == OIIO::TypeFloat) return value;
    if (type == OIIO::TypeHalf) {
        std::uint16_t half = 0;
        OIIO::convert_pixel_values(OIIO::TypeFloat, &value, OIIO::TypeHalf, &half, 1);
        OIIO::convert_pixel_values(OIIO::TypeHalf, &half, OIIO::TypeFloat, &value, 1);
        return value;
    }
    const float largest = type == OIIO::TypeUInt8 ? 255.0F : 65535.0F;
    if (std::isnan(value)) return 0;
    return std::floor(std::clamp(value, 0.0F, 1.0F) * largest + 0.5F) / largest;
}

/// Far below the step between two samples; the reader's conversion to floats is a bit off.
constexpr float exact = 1e-7F;

void expect_stored(const StoredImage& image, const FloatBitmap& bitmap, float tolerance = exact) {
    for (int y = 0; y < bitmap.Height(); ++y) {
        for (int x = 0; x < bitmap.Width(); ++x) {
            const float* source = &bitmap.row(y)[x].r;
            for (int channel = 0; channel < image.spec.nchannels; ++channel) {
                const float expected = stored(source[channel], image.spec.format);
                const float actual = image.pixel(x, y)[channel];
                if (std::isnan(expected) && std::isnan(actual)) continue;
                if (expected == actual) continue;  // infinities too
                ASSERT_NEAR(actual, expected, tolerance) << x << ", " << y << " channel " << channel;
            }
        }
    }
}

/// Values that no integer holds, in the first row.
void add_extremes(FloatBitmap& bitmap) {
    const float infinity = std::numeric_limits<float>::infinity();
    const float nan = std::numeric_limits<float>::quiet_NaN();
    bitmap.row(0)[0] = {nan, infinity, -infinity, 1};
    bitmap.row(0)[1] = {-0.25F, 3.5F, 1e30F, nan};
    bitmap.row(0)[2] = {0.5F / 255, 0.5F / 65535, 1, 65504};
    bitmap.row(0)[3] = {-0.0F, 1e-30F, 70000, -1e30F};
}

constexpr int eight_bit_type = 0;

TEST(ImageFile, HoldsThePixelsInTheDepthThatTheTypeAsksFor) {
    const std::tuple<const char*, int, OIIO::TypeDesc, bool> cases[] = {
        // the last: keeps the aspect
        {"a.png", eight_bit_type, OIIO::TypeUInt8, true},
        {"a.png", BMM_TRUE_64, OIIO::TypeUInt16, true},
        {"a.png", BMM_FLOAT_RGBA_32, OIIO::TypeUInt16, true},
        {"a.bmp", BMM_TRUE_64, OIIO::TypeUInt8, false},
        {"a.tga", BMM_TRUE_64, OIIO::TypeUInt8, true},
        {"a.tif", eight_bit_type, OIIO::TypeUInt8, true},
        {"a.tiff", BMM_TRUE_64, OIIO::TypeUInt16, true},
        {"a.tif", BMM_FLOAT_RGBA_32, OIIO::TypeFloat, true},
        {"a.exr", eight_bit_type, OIIO::TypeHalf, true},
        {"a.exr", BMM_TRUE_64, OIIO::TypeHalf, true},
        {"a.exr", BMM_FLOAT_RGBA_32, OIIO::TypeFloat, true},
    };
    const TemporaryFolder folder;
    const OwnedBitmap bitmap = make_pattern(37, 150);
    add_extremes(*bitmap);
    for (const auto& [name, type, format, keeps_aspect] : cases) {
        for (const bool has_alpha : {true, false}) {
            SCOPED_TRACE(std::string(name) + " of type " + std::to_string(type));
            BitmapInfo info = describe(folder / name, type, has_alpha);
            info.SetAspect(has_alpha ? 1.25F : std::numeric_limits<float>::quiet_NaN());
            ASSERT_EQ(save(*bitmap, info), BMMRES_SUCCESS);
            const StoredImage image = read_image(folder / name);
            EXPECT_EQ(image.spec.width, 37);
            EXPECT_EQ(image.spec.height, 150);
            EXPECT_EQ(image.spec.format, format);
            EXPECT_EQ(image.spec.nchannels, has_alpha ? 4 : 3);
            if (keeps_aspect && has_alpha) {
                EXPECT_NEAR(image.spec.get_float_attribute("PixelAspectRatio"), 1.25F, 0.01F);
            }
            expect_stored(image, *bitmap);
        }
    }
}

TEST(ImageFile, JpegIsCloseToTheColoursWithoutAlpha) {
    const TemporaryFolder folder;
    const OwnedBitmap bitmap(FloatBitmap::make(64, 48));
    for (int y = 0; y < 48; ++y) {
        for (int x = 0; x < 64; ++x)
            bitmap->row(y)[x] = {float(x) / 64, float(y) / 48, 0.25F, 0.1F};
    }
    BitmapInfo info = describe(folder / "a.jpg");
    info.SetAspect(1.25F);
    ASSERT_EQ(save(*bitmap, info), BMMRES_SUCCESS);
    const StoredImage image = read_image(folder / "a.jpg");
    EXPECT_EQ(image.spec.nchannels, 3);
    // The library's reader turns the ratio round; the densities are in the file.
    EXPECT_EQ(image.spec.get_float_attribute("YResolution"),
              1.25F * image.spec.get_float_attribute("XResolution"));
    expect_stored(image, *bitmap, 0.04F);
}

TEST(ImageFile, AlphaSplitWritesAGreyCompanionOfTgaFilesOnly) {
    const TemporaryFolder folder;
    const OwnedBitmap bitmap = make_pattern(37, 19);
    set_tga_alpha_split(true);
    const BMMRES tga = save(*bitmap, describe(folder / "beauty0001.tga"));
    const BMMRES png = save(*bitmap, describe(folder / "beauty0001.png"));
    set_tga_alpha_split(false);
    ASSERT_EQ(tga, BMMRES_SUCCESS);
    ASSERT_EQ(png, BMMRES_SUCCESS);
    EXPECT_EQ(entries_of(folder.path()),
              (std::vector<std::string>{"A_beauty0001.tga", "beauty0001.png", "beauty0001.tga"}));

    const StoredImage image = read_image(folder / "beauty0001.tga");
    EXPECT_EQ(image.spec.nchannels, 3);
    expect_stored(image, *bitmap);

    const StoredImage alpha = read_image(folder / "A_beauty0001.tga");
    ASSERT_EQ(alpha.spec.nchannels, 1);
    for (int pixel = 0; pixel < 37 * 19; ++pixel)
        ASSERT_NEAR(alpha.samples[std::size_t(pixel)], stored(bitmap->pixels()[pixel].a, OIIO::TypeUInt8),
                    exact);
}

TEST(ImageFile, SmallestAndLongestSidesAreWritten) {
    const TemporaryFolder folder;
    for (const auto& [width, height] : {std::pair{1, 1}, {65535, 1}, {1, 65535}}) {
        const OwnedBitmap bitmap = make_pattern(width, height);
        for (const char* name : {"a.png", "a.bmp", "a.tga", "a.tif", "a.exr"}) {
            SCOPED_TRACE(name);
            ASSERT_EQ(save(*bitmap, describe(folder / name)), BMMRES_SUCCESS);
            const StoredImage image = read_image(folder / name);
            EXPECT_EQ(image.spec.width, width);
            EXPECT_EQ(image.spec.height, height);
            expect_stored(image, *bitmap);
        }
    }
}

TEST(ImageFile, ASmallPictureShowsTheMeans) {
    const TemporaryFolder folder;
    const OwnedBitmap bitmap(FloatBitmap::make(400, 200));
    for (int i = 0; i < 400 * 200; ++i) {  // on the left stripes, on the right green, below it is too bright
        const bool stripe = i % 400 < 200 && i % 2 == 0;
        const float green = i % 400 < 200 ? 0.0F : i < 400 * 100 ? 1.0F : 9.0F;
        bitmap->pixels()[i] = {stripe ? 1.0F : 0.0F, green, 0, 1};
    }
    for (const auto& [name, side, width] :
         {std::tuple{"a.exr", 100, 100}, {"a.png", 100, 100}, {"a.tif", 999, 400}}) {
        ASSERT_EQ(save(*bitmap, describe(folder / name)), BMMRES_SUCCESS);
        std::vector<unsigned char> jpeg;
        image_module().shrink(folder / name, side, jpeg);
        write_file(folder / "small.jpg", std::string(jpeg.begin(), jpeg.end()));
        const StoredImage small = read_image(folder / "small.jpg");
        EXPECT_EQ(small.spec.width, width);
        ASSERT_EQ(small.spec.height, width / 2);
        if (width == 100) {
            EXPECT_NEAR(small.pixel(20, 20)[0], 0.5, 0.03) << name;
        }
        EXPECT_NEAR(small.pixel(width - 10, 10)[1], 1, 0.03);
        EXPECT_NEAR(small.pixel(width - 10, width / 2 - 5)[1], 1, 0.03);
    }
    std::vector<unsigned char> jpeg;
    write_file(folder / "a.png", "no image");
    EXPECT_THROW(image_module().shrink(folder / "a.png", 9, jpeg), std::runtime_error);
}

}  // namespace
}  // namespace corrivane::host
