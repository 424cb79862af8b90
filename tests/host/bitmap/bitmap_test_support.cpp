#include "bitmap_test_support.h"

#include "images/image_module.h"

#include <algorithm>

namespace corrivane::host {

namespace {

/// The tests do not lie beside the module, as the programs do.
[[maybe_unused]] const bool module_chosen = (set_image_module_path(CORRIVANE_IMAGE_MODULE), true);

}  // namespace

std::vector<std::string> entries_of(const std::filesystem::path& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        names.push_back(entry.path().filename());
    }
    std::ranges::sort(names);
    return names;
}

OwnedBitmap make_pattern(int width, int height) {
    OwnedBitmap bitmap(FloatBitmap::make(width, height));
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const float across = float(x) / float(width);
            const float down = float(y) / float(height);
            bitmap->row(y)[x] = {across, down, float((x * 7 + y * 13) % 101) / 100,
                                 0.5F * (across + down) / 2};
        }
    }
    return bitmap;
}

BitmapInfo describe(const std::string& name, int image_type) {
    BitmapInfo info;
    info.SetName(name.c_str());
    info.SetType(image_type);
    info.SetFlags(MAP_HAS_ALPHA);
    return info;
}

BMMRES save(FloatBitmap& bitmap, const BitmapInfo& info) {
    if (const BMMRES code = bitmap.OpenOutput(info)) return code;
    if (const BMMRES code = bitmap.Write(info, BMM_SINGLEFRAME)) return code;
    return bitmap.Close(info, 0);
}

}  // namespace corrivane::host
