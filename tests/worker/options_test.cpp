#include "worker/options.h"

#include "support/temporary_folder.h"
#include "worker/job_commands.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iterator>
#include <sstream>

namespace corrivane::worker {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

/// The arguments stand in one text, with blanks between them; "" is an empty one.
ParsedCommandLine parse(const std::string& command_line) {
    std::istringstream words("corrivane-worker " + command_line);
    const std::vector<std::string> texts{std::istream_iterator<std::string>(words), {}};
    std::vector<const char*> arguments;
    for (const std::string& text : texts)
        arguments.push_back(text == "\"\"" ? "" : text.c_str());
    return parse_command_line(static_cast<int>(arguments.size()), arguments.data());
}

TEST(Options, RenderTakesEveryJobOption) {
    const auto parsed = parse(
        "render C:\\scene.gltf --camera Camera01 --frames -5 --output C:\\out\\b.png --frame-base -3 "
        "--region -1,2,30,40 --region-padding 8 --jpeg-preview C:\\previews --fail-on-black 95,0.5 "
        "--ignore-missing files,dlls --restart-renderer --hide-frame-buffer --remove-padding --alpha-split");
    ASSERT_TRUE(parsed.invocation && parsed.invocation->job);
    const Job& job = *parsed.invocation->job;
    EXPECT_THAT(job.frames, ElementsAre(-5));
    const JobCommands commands = make_job_commands(job);
    EXPECT_THAT(commands.before_start, ElementsAre("IgnoreMissingExternalFiles", "IgnoreMissingDLLs"));
    EXPECT_EQ(commands.start, R"(StartJob,C:\\scene.gltf,Camera01)");
    EXPECT_THAT(
        commands.after_start,
        ElementsAre("FrameNumberBase,-3", "RegionRendering,8,-1,2,30,40", R"(UseJpegOutput,C:\\previews\\)",
                    "FailOnBlackFrames,95,0.5", R"(OutputImageFilename,C:\\out\\b.png)",
                    "RestartRendererMode", "HideFrameBuffer", "RemovePadding", "AlphaSplit"));
}

TEST(Options, TheMachinesOptionsReachTheHosts) {
    const auto parsed = parse(
        "render a --frames 1 --drive C=here --drive d=there --network net --library x.dlx --host my-host "
        "--hosts 3 --retries 0 --frame-timeout 0 --start-timeout 5 --check");
    ASSERT_TRUE(parsed.invocation);
    const RunSettings& settings = parsed.invocation->settings;
    EXPECT_EQ(settings.host.program, "my-host");
    EXPECT_THAT(settings.host.arguments, ElementsAre("--drive", "C=here", "--drive", "d=there", "--network",
                                                     "net", "--library", "x.dlx"));
    EXPECT_EQ(settings.hosts, 3);
    EXPECT_EQ(settings.retries, 0);
    EXPECT_EQ(settings.limits.work, std::chrono::milliseconds::max());
    EXPECT_EQ(settings.limits.start, std::chrono::seconds(5));
    EXPECT_TRUE(settings.check_files);
    const auto plain = parse("render a --frames 1");
    EXPECT_THAT(plain.invocation->settings.host.program, testing::EndsWith("/corrivane-host"));
}

TEST(Options, OptionsReplaceWhatTheJobFileSays) {
    const test::TemporaryFolder folder;
    test::write_file(folder / "job.json", R"({"scene": "a", "camera": "file", "frames": 1,
                                              "options": {"frameBase": 5, "alphaSplit": true}})");
    const auto parsed = parse("run " + (folder / "job.json") + " --frames 9-7x2,60 --frame-base 6");
    ASSERT_TRUE(parsed.invocation && parsed.invocation->job);
    const Job& job = *parsed.invocation->job;
    EXPECT_EQ(job.camera, "file");
    EXPECT_THAT(job.frames, ElementsAre(9, 7, 60));
    EXPECT_EQ(job.options.frame_base, 6);
    EXPECT_TRUE(job.options.alpha_split);
}

TEST(Options, ScriptsNeedNoJob) {
    const auto parsed = parse("script a.ms --frame -2 --set-time");
    ASSERT_TRUE(parsed.invocation && parsed.invocation->script);
    EXPECT_FALSE(parsed.invocation->job);
    EXPECT_EQ(parsed.invocation->script->file, "a.ms");
    EXPECT_EQ(parsed.invocation->script->frame, -2);
    EXPECT_TRUE(parsed.invocation->script->set_time);
}

TEST(Options, WrongCommandLinesAreExplained) {
    const struct {
        const char* command_line;
        const char* reason;
    } cases[] = {
        {"", "subcommand"},
        {"paint", "\"paint\" is none of the commands"},
        {"render --frames 1", "scene"},
        {"render a", "--frames"},
        {"render a --frames 1-", "frame list: \"1-\""},
        {"render a --frames 1 --region 1,2,3", "--region: \"1,2,3\" is not of the form L,T,R,B"},
        {"render a --frames 1 --region 1,2,3,4,5", "--region"},
        {"render a --frames 1 --region 5,5,1,1", "region"},
        {"render a --frames 1 --region-padding 5", "--region"},
        {"render a --frames 1 --fail-on-black 50 --drive C=x", "--fail-on-black: \"50\" is not of the form"},
        {"render a --frames 1 --fail-on-black 50;0.5", "--fail-on-black: \"50;0.5\" is not"},
        {"render a --frames 1 --fail-on-black -1,0", "percentage must be from 0 to 100"},
        {"render a --frames 1 --fail-on-black 101,0", "percentage must be from 0 to 100"},
        {"render a --frames 1 --ignore-missing files,all", "all"},
        {"render a --frames 1 --hosts 0", "--hosts"},
        {"render a --frames 1 --frame-base 99999999999", "--frame-base"},
        {"render a --frames 1 --drive C", "--drive: \"C\""},
        {"render a --frames 1 --drive 4=x", "--drive: \"4=x\""},
        {"render a --frames 1 --drive C=a --drive c=b", "drive C is given twice"},
        {"render a --frames 1 --drive C=/dev/null", "--drive: \"/dev/null\" is not a folder"},
        {"script a.ms --network /dev/null", "--network: \"/dev/null\" is not a folder"},
        {"script a.ms --network \"\"", "--network: is empty"},
        {"render a --frames 1 --output \"\"", "--output: is empty"},
        {"render a --frames 1 --jpeg-preview \"\"", "--jpeg-preview: is empty"},
        {"render a --frames 1-2 --remove-padding", "one frame"},
        {"run /nowhere/job.json", "/nowhere/job.json"},
        {"script", "file"},
        {"script a.ms --frames 1", "--frames"},
    };
    for (const auto& entry : cases) {
        testing::internal::CaptureStderr();
        const auto parsed = parse(entry.command_line);
        EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr(entry.reason));
        EXPECT_FALSE(parsed.invocation) << entry.reason;
        EXPECT_EQ(parsed.exit_code, k_usage_exit_code) << entry.reason;
    }
}

TEST(Options, HelpIsNoError) {
    testing::internal::CaptureStdout();
    const auto parsed = parse("render --help");
    EXPECT_THAT(testing::internal::GetCapturedStdout(), HasSubstr("--frames"));
    EXPECT_FALSE(parsed.invocation);
    EXPECT_EQ(parsed.exit_code, 0);
}

}  // namespace
}  // namespace corrivane::worker
