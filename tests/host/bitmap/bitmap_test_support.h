#pragma once

#include "bitmap/float_bitmap.h"

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace corrivane::host {

/// An empty folder that goes away with everything in it.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& path() const { return m_path; }
    std::string operator/(const std::string& name) const { return m_path / name; }
    /// The names of everything in it, hidden files included, sorted.
    std::vector<std::string> entries() const;

private:
    std::filesystem::path m_path;
};

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

std::string read_file(const std::string& path);
void write_file(const std::string& path, const std::string& bytes);

}  // namespace corrivane::host
