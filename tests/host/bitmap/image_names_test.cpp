#include <max/bitmap.h>

#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <tuple>
#include <utility>

namespace corrivane::host {
namespace {

TEST(ImageNames, NumberGoesInFrontOfTheExtensionOfTheLastElement) {
    const std::tuple<const char*, int, const char*> cases[] = {
        {"beauty.png", 7, "beauty0007.png"},
        {"beauty.png", -3, "beauty-0003.png"},
        {"beauty.png", 12345, "beauty12345.png"},
        {"beauty.png", INT_MIN, "beauty-2147483648.png"},
        {"beauty.0001.exr", 2, "beauty.00010002.exr"},
        {"beauty", 7, "beauty0007"},
        {"C:\\out.v2\\beauty", 7, "C:\\out.v2\\beauty0007"},
        {"C:/out.v2/beauty", 7, "C:/out.v2/beauty0007"},
        {"C:\\out.v2\\beauty.tga", 0, "C:\\out.v2\\beauty0000.tga"},
        {"\\\\server\\share.d\\x.bmp", 10, "\\\\server\\share.d\\x0010.bmp"},
        {"beauty.", 1, "beauty0001."},
        {".png", 1, "0001.png"},
        {"", 1, "0001"},
    };
    for (const auto& [name, frame, expected] : cases) {
        char numbered[BMM_MAX_PATH] = "before";
        EXPECT_TRUE(BMMCreateNumberedFilename(name, frame, numbered)) << name;
        EXPECT_STREQ(numbered, expected);
    }
}

TEST(ImageNames, NumberedNameMustFitWithItsTerminatingZero) {
    const std::string fits(BMM_MAX_PATH - 1 - 4 - 4, 'a');
    char numbered[BMM_MAX_PATH];
    EXPECT_TRUE(BMMCreateNumberedFilename((fits + ".png").c_str(), 1, numbered));
    EXPECT_EQ(std::string(numbered), fits + "0001.png");
    EXPECT_FALSE(BMMCreateNumberedFilename((fits + ".png").c_str(), -1, numbered));
    EXPECT_STREQ(numbered, "");
    EXPECT_FALSE(BMMCreateNumberedFilename(std::string(100000, 'a').c_str(), 1, numbered));
    EXPECT_FALSE(BMMCreateNumberedFilename(nullptr, 1, numbered));
}

TEST(ImageNames, FormatFollowsTheExtension) {
    const std::pair<const char*, const char*> cases[] = {
        {"a.PNG", "PNG"},    {"C:\\x\\a.Jpg", "JPEG"},
        {"a.jpeg", "JPEG"},  {"a.bmp", "BMP"},
        {"a.tga", "Targa"},  {"a.tif", "TIFF"},
        {"a.tiff", "TIFF"},  {"a.b.exr", "OpenEXR"},
        {".exr", "OpenEXR"}, {"a", ""},
        {"a.", ""},          {"", ""},
        {"a.png\\b", ""},    {"a.pngx", ""},
        {"a.pn", ""},        {"a.png.txt", ""},
    };
    for (const auto& [name, format] : cases)
        EXPECT_STREQ(BMMFormatName(name), format) << name;
    EXPECT_STREQ(BMMFormatName(nullptr), "");
}

}  // namespace
}  // namespace corrivane::host
