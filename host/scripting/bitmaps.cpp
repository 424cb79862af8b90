#include "scripting/bitmaps.h"

#include "maxscript/machine/geometry.h"
#include "maxscript/machine/overloads.h"
#include "maxscript/streams/file_access.h"
#include "scene/external_files.h"
#include "scene/image_decoder.h"
#include "scene/image_file.h"
#include "scene/limits.h"
#include "scripting/names.h"
#include "scripting/pictures.h"
#include "scripting/rows.h"

#include <max/maxscript/streams.h>

#include <algorithm>
#include <cmath>

namespace corrivane::host {

const ValueMetaClass Bitmap_class{"BitMap"};

namespace {

/// Colours of scripts are 0 to 255.
BMM_Color_fl pixel_of(Value* value) {
    const Imath::V4f color = FromScript<ColorValue&>::from(value).content() / 255.0F;
    return {color.x, color.y, color.z, color.w};
}

Value* color_of(const BMM_Color_fl& pixel) {
    return new ColorValue(Imath::V4f(pixel.r, pixel.g, pixel.b, pixel.a) * 255.0F);
}

/// `bitmap 640 480 color:black fileName:"…"`.
Value* make_bitmap(int width, int height, const Keyword<"color", ColorValue*>& color,
                   const Keyword<"fileName", std::string>& file, const Keyword<"hdr", bool>&,
                   const Keyword<"gamma", float>&) {
    auto* made = new BitmapValue(width, height);
    if (file) made->set_file(*file);
    if (color) {
        const BMM_Color_fl pixel = pixel_of(*color);
        std::fill_n(made->pixels().pixels(),
                    static_cast<std::size_t>(width) * static_cast<std::size_t>(height), pixel);
    }
    return made;
}

/// `openBitMap name`: undefined when the file is not there.
Value* open_bitmap(const std::string& name, const Keyword<"gamma", float>&) {
    const TextureImage image = read_texture_image(name);
    if (image.missing) return &undefined;
    auto* made = new BitmapValue(image.width, image.height);
    made->set_file(name);
    BMM_Color_fl* pixel = made->pixels().pixels();
    for (std::size_t i = 0; i < image.rgba.size(); i += 4) {
        const auto channel = [&](std::size_t number) {
            return static_cast<float>(image.rgba[i + number]) / 255.0F;
        };
        *pixel++ = {channel(0), channel(1), channel(2), channel(3)};
    }
    return made;
}

/// The first pixel and the number of those that lie in the image.
struct Row {
    BMM_Color_fl* first = nullptr;
    std::size_t count = 0;
};
Row row_at(BitmapValue& bitmap, const Imath::V2f& place, std::size_t count) {
    FloatBitmap& pixels = bitmap.pixels();
    const auto x = static_cast<int>(place.x);
    const auto y = static_cast<int>(place.y);
    if (x < 0 || y < 0 || x >= pixels.Width() || y >= pixels.Height()) return {};
    return {pixels.row(y) + x, std::min(count, static_cast<std::size_t>(pixels.Width() - x))};
}

/// `getPixels bitmap [x,y] count`: an empty array outside of the image.
Value* get_pixels(BitmapValue& bitmap, const Imath::V2f& place, int count, const Keyword<"linear", bool>&) {
    const Row row = row_at(bitmap, place, static_cast<std::size_t>(std::max(count, 0)));
    const Rooted array(make_array());
    for (std::size_t i = 0; i < row.count; ++i)
        append_to_array(array.get(), color_of(row.first[i]));
    return array.get();
}

/// `setPixels bitmap [x,y] #(color, …)`: how many were set.
int set_pixels(BitmapValue& bitmap, const Imath::V2f& place, ArrayValue& colors) {
    const Row row = row_at(bitmap, place, colors.elements().size());
    for (std::size_t i = 0; i < row.count; ++i)
        row.first[i] = pixel_of(colors.elements()[i]);
    return static_cast<int>(row.count);
}

/// `save bitmap`: false when the file cannot be written.
bool save(BitmapValue& bitmap, const Keyword<"frame", Value*>&, const Keyword<"gamma", float>&,
          const Keyword<"quiet", bool>&) {
    check_file_access();
    if (bitmap.file().empty()) raise_runtime_error("save: the bitmap has no file name");
    return write_picture(bitmap.pixels(), bitmap.file());
}

/// `copy bitmap other`: scaled to the other's size, each pixel the nearest.
Value* copy_to(BitmapValue& from, BitmapValue* to) {
    if (to == nullptr) return from.copied();
    FloatBitmap& source = from.pixels();
    FloatBitmap& target = to->pixels();
    for (int y = 0; y < target.Height(); ++y) {
        const BMM_Color_fl* row =
            source.row(static_cast<int>(std::int64_t{y} * source.Height() / target.Height()));
        for (int x = 0; x < target.Width(); ++x)
            target.row(y)[x] = row[std::int64_t{x} * source.Width() / target.Width()];
    }
    return to;
}

}  // namespace

BitmapValue::BitmapValue(int width, int height) : m_pixels(FloatBitmap::make(width, height)) {
    if (m_pixels == nullptr)
        raise_runtime_error("a bitmap of " + std::to_string(width) + "x" + std::to_string(height) +
                            " pixels cannot be made");
    m_held.update(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * sizeof(BMM_Color_fl));
}

FloatBitmap& BitmapValue::pixels() const {
    if (m_pixels == nullptr) raise_runtime_error("The bitmap is closed: " + m_file);
    return *m_pixels;
}

void BitmapValue::close() {
    if (m_pixels != nullptr) m_pixels->DeleteThis();
    m_pixels = nullptr;
    m_held.update(0);
}

void BitmapValue::sprin1(CharStream* stream) {
    stream->puts(("BitMap:" + m_file).c_str());
}

Value* BitmapValue::copied() {
    auto* copy = new BitmapValue(pixels().Width(), pixels().Height());
    copy->m_file = m_file;
    std::copy_n(pixels().pixels(),
                static_cast<std::size_t>(pixels().Width()) * static_cast<std::size_t>(pixels().Height()),
                copy->pixels().pixels());
    return copy;
}

const PropertyTable<BitmapValue>& BitmapValue::properties() {
    static const PropertyTable<BitmapValue> table{
        read_only("width", [](BitmapValue& bitmap) { return bitmap.pixels().Width(); }),
        read_only("height", [](BitmapValue& bitmap) { return bitmap.pixels().Height(); }),
        property(
            "fileName", [](BitmapValue& bitmap) { return bitmap.file(); },
            [](BitmapValue& bitmap, const std::string& file) { bitmap.set_file(file); }),
        read_only("hasAlpha", [](BitmapValue&) { return true; }),
        read_only("numFrames", [](BitmapValue&) { return 1; }),
        fixed<BitmapValue>("aspect", 1.0F, "bitmaps whose pixels are not square"),
        host::kept<BitmapValue>("gamma", 1.0F),
        host::kept<BitmapValue>("name", std::string()),
    };
    return table;
}

bool write_picture(FloatBitmap& pixels, const std::string& file) {
    BitmapInfo info;
    info.SetName(file.c_str());
    info.SetWidth(static_cast<std::uint16_t>(pixels.Width()));
    info.SetHeight(static_cast<std::uint16_t>(pixels.Height()));
    info.SetFlags(MAP_HAS_ALPHA);
    if (pixels.OpenOutput(info) != BMMRES_SUCCESS) return false;
    const bool written = pixels.Write(info, BMM_SINGLEFRAME) == BMMRES_SUCCESS;
    return pixels.Close(info, 0) == BMMRES_SUCCESS && written;
}

TextureImage read_texture_image(const std::string& name) {
    check_file_access();
    std::string why;
    const auto bytes = read_file(std::filesystem::path(machine_path(name)), why);
    if (!bytes) {
        TextureImage missing = missing_image();
        missing.file = name;
        missing.missing = true;
        return missing;
    }
    const ByteRange range{bytes->data(), bytes->size()};
    std::unique_ptr<ImageFile> file = open_png(range);
    if (file == nullptr) file = open_jpeg(range);
    if (file == nullptr) raise_absent("reader for images but PNG and JPEG: " + name);
    const auto refuse = [&](const std::string& fault) {
        raise_runtime_error(name + ": cannot be decoded: " + fault);
    };
    if (!file->read_header()) refuse(file->fault());
    if (file->width() == 0 || file->height() == 0 || file->width() > limits::image_side ||
        file->height() > limits::image_side || file->width() * file->height() > limits::image_pixels)
        refuse("its size is not supported");
    TextureImage image{static_cast<int>(file->width()), static_cast<int>(file->height()), {}, name};
    image.rgba.resize(file->width() * file->height() * 4);
    if (!file->read_pixels(image.rgba.data())) refuse(file->fault());
    return image;
}

void define_bitmap_functions() {
    define_class(Bitmap_class, {"bitmap", make_bitmap});
    define_functions({
        {"openBitMap", open_bitmap},
        {"getPixels", get_pixels},
        {"setPixels", set_pixels},
        {"save", save},
    });
    define_overloads({
        {"close", [](BitmapValue& bitmap) { bitmap.close(); }},
        {"free", [](BitmapValue& bitmap) { bitmap.close(); }},
        {"copy", copy_to},
    });
    for (const char* name : {"display", "unDisplay"})
        define_absent(name, "user interface");
    for (const char* name : {"pasteBitmap", "gotoFrame", "getMaskedPixels", "getIndexedPixels",
                             "setIndexedPixels", "getTracePixels", "getChannel"})
        define_absent(name, "function");
}

}  // namespace corrivane::host
