#include "worker/written_files.h"

#include <gtest/gtest.h>

#include <limits>

namespace corrivane::worker {
namespace {

TEST(WrittenFiles, NamesAreNumberedAsThePluginDoes) {
    const struct {
        const char* output;
        int frame;
        int base;
        const char* name;
    } cases[] = {
        {R"(C:\out\beauty.png)", 12, 0, R"(C:\out\beauty0012.png)"},
        {R"(C:\out\beauty.png)", 12, -15, R"(C:\out\beauty-0003.png)"},
        {R"(C:\out.d/beauty)", 12345, 0, R"(C:\out.d/beauty12345)"},
        {"C:a.b.exr", 1, 0, "C:a.b0001.exr"},
        {"a", std::numeric_limits<int>::max(), 1, "a-2147483648"},
    };
    JobOptions options;
    for (const auto& entry : cases) {
        options.frame_base = entry.base;
        EXPECT_EQ(frame_file_name(entry.output, entry.frame, options), entry.name);
    }
    options.remove_padding = true;
    EXPECT_EQ(frame_file_name("a.png", 1, options), "a.png");
}

}  // namespace
}  // namespace corrivane::worker
