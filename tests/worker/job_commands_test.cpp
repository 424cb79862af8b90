#include "worker/job_commands.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace corrivane::worker {
namespace {

using testing::ElementsAre;
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
}

TEST(JobCommands, EveryOptionHasItsCommandAndItsPlace) {
    Job job;
    job.scene = "a,b.gltf";
    job.camera = "Camera01";
    job.frames = {-3, 4};
    job.output = R"(C:\out\beauty.png)";
    job.options.frame_base = -10;
    job.options.region = Region{1, 2, 30, 40, 5};
    job.options.jpeg_preview = R"(C:\previews)";
    job.options.fail_on_black = BlackFrameCheck{95, 0.5F};
    job.options.ignore_missing = {true, true, true, true};
    job.options.restart_renderer = true;
    job.options.hide_frame_buffer = true;
    job.options.remove_padding = true;
    job.options.alpha_split = true;
    job.pre_script = "pre.ms";
    job.post_script = "post.ms";
    const JobCommands commands = make_job_commands(job);
    EXPECT_THAT(commands.before_start, ElementsAre("IgnoreMissingExternalFiles", "IgnoreMissingUVWs",
                                                   "IgnoreMissingDLLs", "IgnoreMissingXREFs"));
    EXPECT_EQ(commands.start, R"(StartJob,"a,b.gltf",Camera01)");
    EXPECT_THAT(
        commands.after_start,
        ElementsAre("FrameNumberBase,-10", "RegionRendering,5,1,2,30,40", R"(UseJpegOutput,C:\\previews)",
                    "FailOnBlackFrames,95,0.5", R"(OutputImageFilename,C:\\out\\beauty.png)",
                    "RestartRendererMode", "HideFrameBuffer", "RemovePadding", "AlphaSplit"));
    EXPECT_EQ(commands.pre_script, "ExecuteScript,-3,pre.ms");
    EXPECT_EQ(commands.post_script, "ExecuteScript,-3,post.ms");
    EXPECT_EQ(render_command(-3), "RenderTask,-3");
    EXPECT_EQ(script_command(2, "a.ms", true), "ExecuteScript,2,a.ms,setTime");
}

TEST(JobCommands, JobsThatCannotBeAreRefused) {
    Job good;
    good.scene = "scene.gltf";
    good.frames = {1};
    ASSERT_NO_THROW(check_job(good));
    void (*const faults[])(Job&) = {
        [](Job& job) { job.scene.clear(); },
        [](Job& job) { job.frames.clear(); },
        [](Job& job) {
            job.options.region = Region{10, 0, 10, 5, 0};
        },
        [](Job& job) {
            job.options.region = Region{0, 9, 10, 5, 0};
        },
        [](Job& job) {
            job.options.region = Region{0, 0, 10, 5, -1};
        },
        [](Job& job) {
            job.options.region = Region{0, 0, 2147483647, 5, 0};
        },
        [](Job& job) {
            job.options.fail_on_black = BlackFrameCheck{101, 0};
        },
        [](Job& job) {
            job.options.fail_on_black = BlackFrameCheck{50, -0.1F};
        },
        [](Job& job) {
            job.options.fail_on_black = BlackFrameCheck{50, std::stof("nan")};
        },
        [](Job& job) { job.job_info["key"] = std::string(99988, 'x'); },
        [](Job& job) {
            job.submit_info["key"] = {std::string(50000, 'x'), std::string(50000, 'x')};
        },
        [](Job& job) { job.aux_files.emplace_back("a\0b", 3); },
    };
    for (std::size_t i = 0; i < std::size(faults); ++i) {
        Job job = good;
        faults[i](job);
        EXPECT_THROW(check_job(job), std::invalid_argument) << "fault " << i;
    }
}

}  // namespace
}  // namespace corrivane::worker
