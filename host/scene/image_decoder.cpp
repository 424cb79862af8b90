#include "scene/image_decoder.h"

#include "scene/image_file.h"
#include "scene/limits.h"

#include <string>

namespace corrivane::host {

namespace {

void check_size(LoadContext& context, const ImageFile& file, const json::Value& image) {
    constexpr std::uint64_t side = limits::image_side;
    const std::uint64_t width = file.width();
    const std::uint64_t height = file.height();
    if (width == 0 || height == 0 || width > side || height > side || width * height > limits::image_pixels) {
        image.fail(std::to_string(width) + "x" + std::to_string(height) + " pixels are not supported");
    }
    context.take_pixels(width * height, image);
}

[[noreturn]] void refuse(const json::Value& image, const char* fault) {
    throw json::Error(image.path(), std::string(" cannot be decoded: ") + fault);
}

}  // namespace

TextureImage decode_image(LoadContext& context, ByteRange encoded, const json::Value& image) {
    std::unique_ptr<ImageFile> file = open_png(encoded);
    if (file == nullptr) file = open_jpeg(encoded);
    if (file == nullptr) throw json::Error(image.path(), " is neither PNG nor JPEG");
    if (!file->read_header()) refuse(image, file->fault());
    check_size(context, *file, image);
    TextureImage result{static_cast<int>(file->width()), static_cast<int>(file->height()), {}};
    result.rgba.resize(file->width() * file->height() * 4);
    if (!file->read_pixels(result.rgba.data())) refuse(image, file->fault());
    if (*file->fault() != '\0') {
        context.warn(image, std::string("damaged, part of it is lost: ") + file->fault());
    }
    return result;
}

TextureImage missing_image() {
    constexpr int side = 8;
    TextureImage image{side, side, {}};
    for (int i = 0; i < side * side; ++i) {
        const std::uint8_t grey = (i / side + i % side) % 2 == 0 ? 110 : 150;
        image.rgba.insert(image.rgba.end(), {grey, grey, grey, 255});
    }
    return image;
}

}  // namespace corrivane::host
