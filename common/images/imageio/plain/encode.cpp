#include "images/imageio/codec.h"
#include "images/imageio/plain/writers.h"

#include <algorithm>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace corrivane {

namespace {

constexpr std::pair<std::string_view, ImageWriter> writers[] = {
    {"PNG", write_png},   {"JPEG", write_jpeg}, {"BMP", write_bmp},
    {"Targa", write_tga}, {"TIFF", write_tiff}, {"OpenEXR", write_exr},
};

}  // namespace

void encode_image(const EncodeRequest& request, std::vector<unsigned char>& bytes) {
    const auto* writer = std::ranges::find(writers, std::string_view(request.format->name),
                                           &std::pair<std::string_view, ImageWriter>::first);
    if (writer == std::end(writers))
        throw std::runtime_error("there is no writer for " + std::string(request.format->name) + " files");
    if (std::max(request.width, request.height) > request.format->largest_side)
        throw std::runtime_error("too large for a " + std::string(request.format->name) + " file");
    writer->second(request, bytes);
}

}  // namespace corrivane
