// What is said of a disk that is too small, before the first frame and after it. The disk is the folder's own, so sizes
// are chosen by what it has free.
#include "worker/preflight/disk_space.h"

#include "support/test.h"

#include <filesystem>

namespace corrivane::worker {
namespace {

using namespace testing;

class DiskSpaceTest : public Test {
protected:
    DiskSpaceTest() { job.frames = {1, 2, 3}; }

    PlannedOutput output(const std::string& name, int side) const {
        return {"output", folder / name, side, side, false};
    }
    std::uint64_t free_bytes() const { return std::filesystem::space(folder.path()).available; }

    /// A file that has a size and takes no room.
    void make_hollow(const std::string& name, std::uint64_t bytes) const {
        test::write_file(folder / name, "");
        std::filesystem::resize_file(folder / name, bytes);
    }

    test::TemporaryFolder folder;
    Job job;
};

TEST_F(DiskSpaceTest, BytesOfAnImageFollowFromItsFormat) {
    EXPECT_EQ(uncompressed_bytes(output("a.png", 10)), 800);
    EXPECT_EQ(uncompressed_bytes(output("a.jpg", 10)), 300);
    EXPECT_EQ(uncompressed_bytes(output("a.bmp", 10)), 400);
    PlannedOutput deep = output("a.exr", 10);
    deep.is_deep = true;
    EXPECT_EQ(uncompressed_bytes(deep), 1600);
    EXPECT_EQ(uncompressed_bytes(output("a.gif", 10)), 0);
    EXPECT_EQ(bytes_text(999), "999 bytes");
    EXPECT_EQ(bytes_text(1'540'000), "1.5 MB");
}

TEST_F(DiskSpaceTest, OnlyWhatCannotFitIsRefused) {
    const auto severity = [&](const std::string& name, std::size_t frames) {
        job.frames.clear();
        for (std::size_t i = 0; i < frames; ++i)
            job.frames.push_back(static_cast<int>(i));
        return check_disk_space({output(name, 20000)}, job).front().severity;
    };
    const std::uint64_t fitting = free_bytes() / (std::uint64_t{20000} * 20000 * 4);
    EXPECT_EQ(severity("a.bmp", fitting / 2), Finding::Severity::good);
    EXPECT_EQ(severity("a.bmp", fitting * 2 + 1), Finding::Severity::refusal);
    EXPECT_EQ(severity("a.png", fitting * 2 + 1), Finding::Severity::warning);  // it may compress
}

TEST_F(DiskSpaceTest, TheFirstFrameTellsOfTheOthers) {
    const std::vector<PlannedOutput> outputs{output("a.png", 10)};
    EXPECT_EQ(space_lacking_after(1, outputs, job), "");  // it wrote nothing
    make_hollow("a0001.png", free_bytes() / 3);
    EXPECT_EQ(space_lacking_after(1, outputs, job), "");
    make_hollow("a0001.png", free_bytes() / 3 * 2);
    EXPECT_THAT(space_lacking_after(1, outputs, job),
                AllOf(StartsWith("The frames do not fit on the disk: after frame 1 the others need "),
                      HasSubstr(" are free below " + folder.path().string())));
    make_hollow("a0003.png", free_bytes() / 3 * 2);  // what a frame replaces is room for it
    EXPECT_EQ(space_lacking_after(1, outputs, job), "");
}

}  // namespace
}  // namespace corrivane::worker
