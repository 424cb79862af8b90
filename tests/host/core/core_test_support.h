#pragma once

#include "bitmap/float_bitmap.h"
#include "core/core.h"
#include "support/scene_file.h"
#include "support/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <memory>
#include <string>

namespace corrivane::host::test {

using ::corrivane::test::render_settings;
using ::corrivane::test::save_scene;
using ::corrivane::test::small_scene;
using ::corrivane::test::TemporaryFolder;
using nlohmann::json;
using testing::HasSubstr;

/// Those of small_scene().
constexpr int width = 64;
constexpr int height = 48;
constexpr TimeValue ticks_per_frame = 160;

struct BitmapDeleter {
    void operator()(Bitmap* bitmap) const { bitmap->DeleteThis(); }
};
using BitmapPointer = std::unique_ptr<FloatBitmap, BitmapDeleter>;

inline BitmapPointer make_bitmap(int columns = width, int rows = height) {
    return BitmapPointer(FloatBitmap::make(columns, rows));
}

/// What the system log says meanwhile.
template <typename Operation>
std::string log_of(Operation operation) {
    testing::internal::CaptureStderr();
    operation();
    return testing::internal::GetCapturedStderr();
}

/// The one core, empty before and after each test.
class CoreTest : public testing::Test {
protected:
    CoreTest() { m_core.FileReset(TRUE); }
    ~CoreTest() override {
        m_core.FileReset(TRUE);
        m_core.set_render_hooks({});
    }

    /// Writes the scene and loads it. Returns what LoadFromFile returned.
    int load(const json& scene) { return m_core.LoadFromFile(save_scene(scene, m_folder.path()).c_str(), 6); }

    TemporaryFolder m_folder;
    Core& m_core = Core::instance();
};

}  // namespace corrivane::host::test
