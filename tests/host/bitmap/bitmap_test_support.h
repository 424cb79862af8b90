#pragma once

#include "bitmap/float_bitmap.h"
#include "support/temporary_folder.h"

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace corrivane::host {

using test::read_file;
using test::TemporaryFolder;
using test::write_file;

/// The names of everything in a folder, hidden files included, sorted.
std::vector<std::string> entries_of(const std::filesystem::path& folder);

struct GiveBack {
    void operator()(FloatBitmap* bitmap) const { bitmap->DeleteThis(); }
};
using OwnedBitmap = std::unique_ptr<FloatBitmap, GiveBack>;

/// A bitmap whose pixels differ from one another, with colours above their alpha, 0 to 1.
OwnedBitmap make_pattern(int width, int height);

/// A description with alpha.
BitmapInfo describe(const std::string& name, int image_type = BMM_TRUE_64);

/// OpenOutput, Write and Close; the first code that is no success.
BMMRES save(FloatBitmap& bitmap, const BitmapInfo& info);

}  // namespace corrivane::host
