#include "worker/job_file.h"

#include "support/message_of.h"
#include "worker/job_commands.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace corrivane::worker {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Pair;
using testing::StartsWith;
using testing::UnorderedElementsAre;

TEST(JobFile, ReadsEveryKeyAndEveryOptionHasItsCommand) {
    const Job job = parse_job(R"({
        "scene": "a,b.gltf", "camera": "Camera01", "frames": "-3-5x4,60", "output": "C:\\out\\b.png",
        "options": {
            "frameBase": -7, "region": {"left": 1, "top": 2, "right": 30, "bottom": 40, "padding": 8},
            "jpegPreview": "C:\\previews", "failOnBlack": {"percentage": 95, "threshold": 0.5},
            "ignoreMissing": ["files", "uvws", "dlls", "xrefs"],
            "restartRenderer": true, "hideFrameBuffer": true, "removePadding": true, "alphaSplit": true},
        "jobInfo": {"Name": "Robot", "Priority": 50, "Urgent": true},
        "submitInfo": {"Pools": ["night", 2], "Name": "ana", "None": []},
        "auxFiles": ["a.txt", "b.txt"], "preScript": "pre.ms", "postScript": "post.ms"})",
                              "job.json");
    EXPECT_THAT(job.frames, ElementsAre(-3, 1, 5, 60));
    const JobCommands commands = make_job_commands(job);
    EXPECT_THAT(commands.before_start, ElementsAre("IgnoreMissingExternalFiles", "IgnoreMissingUVWs",
                                                   "IgnoreMissingDLLs", "IgnoreMissingXREFs"));
    EXPECT_EQ(commands.start, R"(StartJob,"a,b.gltf",Camera01)");
    EXPECT_THAT(
        commands.after_start,
        ElementsAre("FrameNumberBase,-7", "RegionRendering,8,1,2,30,40", R"(UseJpegOutput,C:\\previews\\)",
                    "FailOnBlackFrames,95,0.5", R"(OutputImageFilename,C:\\out\\b.png)",
                    "RestartRendererMode", "HideFrameBuffer", "RemovePadding", "AlphaSplit"));
    EXPECT_EQ(commands.pre_script, "ExecuteScript,-3,pre.ms");
    EXPECT_EQ(commands.post_script, "ExecuteScript,-3,post.ms");
    EXPECT_THAT(job.job_info,
                UnorderedElementsAre(Pair("Name", "Robot"), Pair("Priority", "50"), Pair("Urgent", "true")));
    EXPECT_THAT(job.submit_info,
                UnorderedElementsAre(Pair("Pools", ElementsAre("night", "2")),
                                     Pair("Name", ElementsAre("ana")), Pair("None", ElementsAre())));
    EXPECT_THAT(job.aux_files, ElementsAre("a.txt", "b.txt"));
}

TEST(JobFile, FramesMayBeNumbers) {
    EXPECT_THAT(parse_job(R"({"scene": "a", "frames": -4})", "").frames, ElementsAre(-4));
    EXPECT_THAT(parse_job(R"({"scene": "a", "frames": [3, -1, 3]})", "").frames, ElementsAre(3, -1));
}

std::string complaint(const std::string& text) {
    return test::message_of([&] { parse_job(text, "job.json"); });
}

TEST(JobFile, NamesWhatIsWrong) {
    const struct {
        const char* text;
        const char* reason;
    } cases[] = {
        {"", "parse error at line 1"},
        {"{\"scene\": \"a\",\n oops}", "parse error at line 2"},
        {"{} {}", "parse error"},
        {"\"\xff\"", "UTF-8"},
        {"[]", "the job: expected an object, got array"},
        {R"({"frames": 1})", "the job: lacks \"scene\""},
        {R"({"scene": "a"})", "the job: lacks \"frames\""},
        {R"({"scene": "a", "scene": "b", "frames": 1})", "\"scene\" is there twice"},
        {R"({"scene": "a", "frames": "1-"})", "frames: frame list: \"1-\" lacks the last frame"},
        {R"({"scene": "a", "frames": []})", "frames: the frame list names no frames"},
        {R"({"scene": "a", "frames": [1, 2.5]})", "frames[1]: expected an integer, got number"},
        {R"({"scene": "a", "frames": 3000000000})", "frames: is beyond 32 bits"},
        {R"({"scene": "a", "frames": true})", "frames: expected an integer, got boolean"},
    };
    for (const auto& [text, reason] : cases)
        EXPECT_THAT(complaint(text), AllOf(StartsWith("job.json: "), HasSubstr(reason))) << text;
}

TEST(JobFile, NamesThePlaceOfAWrongValue) {
    const struct {
        const char* member;
        const char* reason;
    } cases[] = {
        {R"("scene": 5)", "scene: expected a string, got number"},
        {R"("scene": "a\u0000b")", "NUL"},
        {R"("Camera": "x")", "Camera"},
        {R"("options": [])", "options: expected an object"},
        {R"("options": {"frameBase": "1"})", "options.frameBase: expected an integer"},
        {R"("options": {"frameBase": -2147483649})", "options.frameBase"},
        {R"("options": {"alphaSplit": 1})", "options.alphaSplit: expected true or false"},
        {R"("options": {"region": {"left": 1}})", "options.region: lacks \"top\""},
        {R"("options": {"region": {"depth": 1}})", "options.region.depth"},
        {R"("options": {"failOnBlack": {"percentage": 1, "threshold": "x"}})",
         "options.failOnBlack.threshold: expected a number"},
        {R"("options": {"ignoreMissing": ["files", "all"]})", "options.ignoreMissing[1]"},
        {R"("jobInfo": {"x": {}})", "jobInfo.x"},
        {R"("submitInfo": {"x": [[]]})", "submitInfo.x[0]"},
        {R"("auxFiles": "a")", "auxFiles: expected a list"},
        {R"("preScript": null)", "preScript: expected a string, got null"},
    };
    for (const auto& [member, reason] : cases) {
        const char* rest = std::string_view(member).starts_with("\"scene\"") ? "" : R"(, "scene": "a")";
        const std::string text = std::string("{\"frames\": 1, ") + member + rest + "}";
        EXPECT_THAT(complaint(text), HasSubstr(reason)) << text;
    }
}

TEST(JobFile, FilesThatCannotBeReadAreNamed) {
    for (const char* path : {"/nowhere/job.json", "/", "/dev/null"})
        EXPECT_THAT(test::message_of([path] { read_job_file(path); }), StartsWith(path));
}

}  // namespace
}  // namespace corrivane::worker
