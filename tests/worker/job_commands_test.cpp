#include "worker/job_commands.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace corrivane::worker {
namespace {

using testing::IsEmpty;

TEST(JobCommands, APlainJobNeedsOnlyItsStart) {
    Job job;
    job.scene = R"(C:\scene.gltf)";
    job.frames = {1};
    const JobCommands commands = make_job_commands(job);
    EXPECT_THAT(commands.before_start, IsEmpty());
    EXPECT_EQ(commands.start, R"(StartJob,C:\\scene.gltf,)");
    EXPECT_THAT(commands.after_start, IsEmpty());
    EXPECT_FALSE(commands.pre_script || commands.post_script);
    EXPECT_EQ(render_command(-3), "RenderTask,-3");
}

TEST(JobCommands, ThePreviewsFolderEndsInASeparator) {
    const struct {
        const char* folder;
        const char* command;
    } cases[] = {
        {R"(C:\p)", R"(UseJpegOutput,C:\\p\\)"},
        {R"(C:\p\)", R"(UseJpegOutput,C:\\p\\)"},
        {"/mnt/p/", "UseJpegOutput,/mnt/p/"},
    };
    for (const auto& entry : cases) {
        Job job;
        job.options.jpeg_preview = entry.folder;
        EXPECT_THAT(make_job_commands(job).after_start, testing::ElementsAre(entry.command));
    }
}

TEST(JobCommands, JobsThatCannotBeAreRefused) {
    Job good;
    good.scene = "scene.gltf";
    good.frames = {1};
    const std::string longest_value(99987, 'x');
    good.job_info["key"] = longest_value;
    ASSERT_NO_THROW(check_job(good));
    const auto expect_refused = [&good](const auto& change) {
        Job job = good;
        change(job);
        EXPECT_THROW(check_job(job), std::invalid_argument);
    };
    expect_refused([](Job& job) { job.scene.clear(); });
    expect_refused([](Job& job) { job.frames.clear(); });
    expect_refused([](Job& job) { job.output = ""; });
    expect_refused([](Job& job) { job.options.jpeg_preview = ""; });
    expect_refused([](Job& job) {
        job.frames = {1, 2};
        job.options.remove_padding = true;
    });
    for (const Region& region : {Region{10, 0, 10, 5, 0}, Region{0, 9, 10, 5, 0}, Region{0, 0, 10, 5, -1},
                                 Region{0, 0, 2147483647, 5, 0}})
        expect_refused([&](Job& job) { job.options.region = region; });
    for (const BlackFrameCheck& check :
         {BlackFrameCheck{101, 0}, BlackFrameCheck{50, -0.1F}, BlackFrameCheck{50, std::stof("nan")}})
        expect_refused([&](Job& job) { job.options.fail_on_black = check; });
    expect_refused([&](Job& job) { job.job_info["key"] += 'x'; });
    expect_refused([&](Job& job) { job.submit_info["key"] = {longest_value, ""}; });
    expect_refused([](Job& job) { job.aux_files.emplace_back("a\0b", 3); });
}

}  // namespace
}  // namespace corrivane::worker
