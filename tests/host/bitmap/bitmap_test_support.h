#pragma once

#include "bitmap/float_bitmap.h"
#include "images/image_module.h"
#include "support/temporary_folder.h"

#include <algorithm>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace corrivane::host {

using test::read_file;
using test::TemporaryFolder;
using test::write_file;

/// The tests do not lie beside the module, as the programs do.
inline const bool module_chosen = (set_image_module_path(CORRIVANE_IMAGE_MODULE), true);

/// The names of everything in a folder, hidden files included, sorted.
inline std::vector<std::string> entries_of(const std::filesystem::path& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        names.push_back(entry.path().filename());
    std::ranges::sort(names);
    return names;
}

struct GiveBack {
    void operator()(FloatBitmap* bitmap) const { bitmap->DeleteThis(); }
};
using OwnedBitmap = std::unique_ptr<FloatBitmap, GiveBack>;

/// A bitmap whose pixels differ from one another, with colours above their alpha, 0 to 1.
inline OwnedBitmap make_pattern(int width, int height) {
    OwnedBitmap bitmap(FloatBitmap::make(width, height));
    for (int i = 0; i < width * height; ++i) {
        const int x = i % width;
        const int y = i / width;
        const float across = float(x) / float(width);
        const float down = float(y) / float(height);
        bitmap->pixels()[i] = {across, down, float((x * 7 + y * 13) % 101) / 100, 0.5F * (across + down) / 2};
    }
    return bitmap;
}

inline BitmapInfo describe(const std::string& name, int image_type = BMM_TRUE_64, bool has_alpha = true) {
    BitmapInfo info;
    info.SetName(name.c_str());
    info.SetType(image_type);
    if (has_alpha) info.SetFlags(MAP_HAS_ALPHA);
    return info;
}

/// OpenOutput, Write and Close; the first code that is no success.
inline BMMRES save(FloatBitmap& bitmap, const BitmapInfo& info) {
    if (const BMMRES code = bitmap.OpenOutput(info)) return code;
    if (const BMMRES code = bitmap.Write(info, BMM_SINGLEFRAME)) return code;
    return bitmap.Close(info, 0);
}

}  // namespace corrivane::host
