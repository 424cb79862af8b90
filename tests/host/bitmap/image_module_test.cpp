#include "images/image_module.h"

#include "bitmap/output_codes.h"
#include "bitmap_test_support.h"
#include "support/message_of.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <stdexcept>
#include <string>

namespace corrivane::host {
namespace {

using testing::HasSubstr;

std::string verify_error(const std::string& path) {
    return test::message_of([&] { verify_image_file(path); });
}

TEST(ImageModule, VerifyingAFileGivesItsSizeAndADamagedOneItsName) {
    const TemporaryFolder folder;
    const OwnedBitmap bitmap = make_pattern(70, 130);
    for (const char* name : {"a.png", "a.jpg", "a.bmp", "a.tga", "a.tif", "a.exr"}) {
        ASSERT_EQ(save(*bitmap, describe(folder / name)), BMMRES_SUCCESS);
        const ImageFacts facts = verify_image_file(folder / name);
        EXPECT_EQ(facts.width, 70) << name;
        EXPECT_EQ(facts.height, 130) << name;
        EXPECT_EQ(facts.channels, name == std::string("a.jpg") ? 3 : 4) << name;
        const std::string whole = read_file(folder / name);
        for (const std::size_t size :
             {std::size_t{0}, std::size_t{10}, whole.size() / 4, whole.size() * 3 / 4}) {
            write_file(folder / name, whole.substr(0, size));
            EXPECT_THAT(verify_error(folder / name), HasSubstr(folder / name))
                << name << " cut to " << size << " of " << whole.size();
        }
        write_file(folder / name, std::string(whole.size(), 'x'));
        EXPECT_THAT(verify_error(folder / name), HasSubstr(folder / name)) << name;
    }
    EXPECT_THAT(verify_error(folder / "missing.png"), HasSubstr(folder / "missing.png"));
    EXPECT_THAT(verify_error(folder.path()), HasSubstr(folder.path().string()));
}

TEST(ImageModule, EncoderRefusesAJpegThatWouldEndTheProcess) {
    const std::vector<float> pixels(std::size_t{4} * 65501);
    std::vector<unsigned char> bytes;
    const EncodeRequest request{.rgba = pixels.data(),
                                .width = 65501,
                                .height = 1,
                                .format = find_image_format("a.jpg"),
                                .channels = ImageChannels::rgb};
    EXPECT_THROW(image_module().encode(request, bytes), std::runtime_error);
}

/// The exit status of a process that has no module: 0 when all is as it should be.
int save_without_module() {
    const TemporaryFolder folder;
    set_image_module_path(folder / "nothing.so");
    const OwnedBitmap bitmap = make_pattern(4, 4);
    for (int attempt = 0; attempt < 2; ++attempt) {
        if (save(*bitmap, describe(folder / "a.png")) != output_no_image_module) return 1;
        if (!std::filesystem::is_empty(folder.path())) return 2;
    }
    return verify_error("a.png").find("nothing.so") != std::string::npos ? 0 : 3;
}

TEST(ImageModule, AMissingModuleIsAnErrorOfTheWriterEveryTime) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(_exit(save_without_module()), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace corrivane::host
