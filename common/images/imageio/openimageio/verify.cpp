#include "images/imageio/codec.h"

#include <OpenImageIO/imageio.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace corrivane {

namespace {

/// The rows that are read at once: whole tiles, strips and compressed blocks, so that none is decoded twice.
int rows_of_band(const OIIO::ImageSpec& spec) {
    return spec.tile_height > 0 ? spec.tile_height : 64;
}

/// Reads and drops the pixels of a band as they are stored.
bool read_band(OIIO::ImageInput& input, const OIIO::ImageSpec& spec, int top,
               std::vector<unsigned char>& band) {
    const int bottom = std::min(top + rows_of_band(spec), spec.y + spec.height);
    return spec.tile_width > 0 ? input.read_tiles(0, 0, spec.x, spec.x + spec.width, top, bottom, 0, 1, 0,
                                                  spec.nchannels, OIIO::TypeUnknown, band.data())
                               : input.read_scanlines(0, 0, top, bottom, 0, 0, spec.nchannels,
                                                      OIIO::TypeUnknown, band.data());
}

/// All bands, or the first and the last one.
bool read_pixels(OIIO::ImageInput& input, const OIIO::ImageSpec& spec, ImageLook look) {
    const int rows = rows_of_band(spec);
    // A damaged header may claim anything.
    constexpr std::size_t most = std::size_t{256} << 20;
    if (spec.scanline_bytes(true) > most / rows) throw std::runtime_error("the rows are too long");
    std::vector<unsigned char> band(spec.scanline_bytes(true) * rows);
    const int last = (std::max(spec.height, 1) - 1) / rows;
    const int step = look == ImageLook::every_pixel ? 1 : std::max(last, 1);
    for (int index = 0; index <= last; index += step)
        if (!read_band(input, spec, spec.y + index * rows, band)) return false;
    return true;
}

struct EndMarker {
    std::string_view start;  ///< how a file of the format begins
    std::string_view end;    ///< what its last bytes hold and its pixels cannot
};
constexpr EndMarker end_markers[] = {{"\xFF\xD8", "\xFF\xD9"}, {"\x89PNG", "IEND"}};

/// Recognises JPEG and PNG files that were cut short without decoding them: the JPEG reader invents what is
/// missing, and the PNG reader writes to standard error and loses memory. Some programs write a little behind
/// the end.
enum class Ending { unknown, whole, cut_short };
Ending ending_of(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::string start(4, '\0');
    file.read(start.data(), std::streamsize(start.size()));
    const auto marker = std::ranges::find_if(
        end_markers, [&](const EndMarker& candidate) { return start.starts_with(candidate.start); });
    if (!file || marker == std::end(end_markers)) return Ending::unknown;

    constexpr std::streamoff most = 1024;
    file.seekg(0, std::ios::end);
    const std::streamoff size = std::min<std::streamoff>(file.tellg(), most);
    file.seekg(-size, std::ios::end);
    std::string tail(size, '\0');
    file.read(tail.data(), size);
    return tail.find(marker->end) == std::string::npos ? Ending::cut_short : Ending::whole;
}

}  // namespace

ImageFacts verify_image(const std::string& path, ImageLook look) {
    const Ending ending = ending_of(path);
    if (ending == Ending::cut_short) throw std::runtime_error("the file is cut short");
    OIIO::ImageSpec as_stored;
    as_stored.attribute("oiio:UnassociatedAlpha", 1);
    const std::unique_ptr<OIIO::ImageInput> input = OIIO::ImageInput::open(path, &as_stored);
    if (!input) throw std::runtime_error(OIIO::geterror());
    const OIIO::ImageSpec& spec = input->spec();
    const bool is_enough = look == ImageLook::ends && ending == Ending::whole;
    if (!is_enough && !read_pixels(*input, spec, look)) throw std::runtime_error(input->geterror());
    return {spec.width, spec.height, spec.nchannels};
}

}  // namespace corrivane
