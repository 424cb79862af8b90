#include "worker/job_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace corrivane::worker {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Pair;
using testing::UnorderedElementsAre;

TEST(JobFile, ReadsEveryKey) {
    const Job job = parse_job(R"({
        "scene": "C:\\scenes\\robot.gltf", "camera": "Camera01", "frames": "1-5x2,60", "output": "C:\\out\\b.png",
        "options": {
            "frameBase": -7, "region": {"left": 1, "top": 2, "right": 30, "bottom": 40, "padding": 8},
            "jpegPreview": "C:\\previews", "failOnBlack": {"percentage": 95, "threshold": 0.5},
            "ignoreMissing": ["files", "xrefs"],
            "restartRenderer": true, "hideFrameBuffer": true, "removePadding": true, "alphaSplit": true},
        "jobInfo": {"Name": "Robot", "Priority": 50, "Urgent": true},
        "submitInfo": {"Pools": ["night", 2], "User": "ana", "None": []},
        "auxFiles": ["a.txt", "b.txt"], "preScript": "pre.ms", "postScript": "post.ms"})",
                              "job.json");
    EXPECT_EQ(job.scene, R"(C:\scenes\robot.gltf)");
    EXPECT_EQ(job.camera, "Camera01");
    EXPECT_THAT(job.frames, ElementsAre(1, 3, 5, 60));
    EXPECT_EQ(job.output, R"(C:\out\b.png)");
    EXPECT_EQ(job.options.frame_base, -7);
    ASSERT_TRUE(job.options.region);
    EXPECT_EQ(job.options.region->right, 30);
    EXPECT_EQ(job.options.region->padding, 8);
    EXPECT_EQ(job.options.jpeg_preview, R"(C:\previews)");
    ASSERT_TRUE(job.options.fail_on_black);
    EXPECT_EQ(job.options.fail_on_black->percentage, 95);
    EXPECT_EQ(job.options.fail_on_black->threshold, 0.5F);
    const IgnoreMissing& ignore = job.options.ignore_missing;
    EXPECT_TRUE(ignore.files && ignore.xrefs && !ignore.uvws && !ignore.dlls);
    EXPECT_TRUE(job.options.restart_renderer && job.options.hide_frame_buffer);
    EXPECT_TRUE(job.options.remove_padding && job.options.alpha_split);
    EXPECT_THAT(job.job_info,
                UnorderedElementsAre(Pair("Name", "Robot"), Pair("Priority", "50"), Pair("Urgent", "true")));
    EXPECT_THAT(job.submit_info,
                UnorderedElementsAre(Pair("Pools", ElementsAre("night", "2")),
                                     Pair("User", ElementsAre("ana")), Pair("None", ElementsAre())));
    EXPECT_THAT(job.aux_files, ElementsAre("a.txt", "b.txt"));
    EXPECT_EQ(job.pre_script, "pre.ms");
    EXPECT_EQ(job.post_script, "post.ms");
}

TEST(JobFile, FramesMayBeNumbers) {
    EXPECT_THAT(parse_job(R"({"scene": "a", "frames": -4})", "").frames, ElementsAre(-4));
    EXPECT_THAT(parse_job(R"({"scene": "a", "frames": [3, -1, 3]})", "").frames, ElementsAre(3, -1));
}

TEST(JobFile, NamesWhatIsWrong) {
    const struct {
        const char* text;
        const char* place;
        const char* reason;
    } cases[] = {
        {"", "job.json", "parse error at line 1"},
        {"{\"scene\": \"a\",\n oops}", "job.json", "parse error at line 2"},
        {"{} {}", "job.json", "parse error"},
        {"\"\xff\"", "job.json", "UTF-8"},
        {"[]", "the job", "expected an object, got array"},
        {R"({"frames": 1})", "the job", "lacks \"scene\""},
        {R"({"scene": "a"})", "the job", "lacks \"frames\""},
        {R"({"scene": 5, "frames": 1})", "scene", "expected a string, got number"},
        {R"({"scene": "a\u0000b", "frames": 1})", "scene", "NUL"},
        {R"({"scene": "a", "scene": "b", "frames": 1})", "\"scene\"", "twice"},
        {R"({"scene": "a", "frames": 1, "Camera": "x"})", "Camera", "not a key"},
        {R"({"scene": "a", "frames": "1-"})", "frames", "lacks the last frame"},
        {R"({"scene": "a", "frames": []})", "frames", "empty"},
        {R"({"scene": "a", "frames": [1, 2.5]})", "frames[1]", "expected an integer, got number"},
        {R"({"scene": "a", "frames": 3000000000})", "frames", "beyond 32 bits"},
        {R"({"scene": "a", "frames": true})", "frames", "expected an integer, got boolean"},
        {R"({"scene": "a", "frames": 1, "options": []})", "options", "expected an object"},
        {R"({"scene": "a", "frames": 1, "options": {"frameBase": "1"}})", "options.frameBase",
         "expected an integer"},
        {R"({"scene": "a", "frames": 1, "options": {"frameBase": -2147483649}})", "options.frameBase",
         "32 bits"},
        {R"({"scene": "a", "frames": 1, "options": {"alphaSplit": 1}})", "options.alphaSplit",
         "true or false"},
        {R"({"scene": "a", "frames": 1, "options": {"region": {"left": 1}}})", "options.region",
         "lacks \"top\""},
        {R"({"scene": "a", "frames": 1, "options": {"region": {"depth": 1}}})", "options.region.depth",
         "not a key"},
        {R"({"scene": "a", "frames": 1, "options": {"failOnBlack": {"percentage": 1, "threshold": "x"}}})",
         "options.failOnBlack.threshold", "expected a number"},
        {R"({"scene": "a", "frames": 1, "options": {"ignoreMissing": ["files", "all"]}})",
         "options.ignoreMissing[1]", "none of files, uvws, dlls, xrefs"},
        {R"({"scene": "a", "frames": 1, "jobInfo": {"x": {}}})", "jobInfo.x", "got object"},
        {R"({"scene": "a", "frames": 1, "submitInfo": {"x": [[]]}})", "submitInfo.x[0]", "got array"},
        {R"({"scene": "a", "frames": 1, "auxFiles": "a"})", "auxFiles", "expected a list"},
        {R"({"scene": "a", "frames": 1, "preScript": null})", "preScript", "got null"},
    };
    for (const auto& entry : cases) {
        try {
            parse_job(entry.text, "job.json");
            ADD_FAILURE() << entry.text << " was accepted";
        } catch (const JobFileError& error) {
            EXPECT_THAT(error.what(),
                        AllOf(HasSubstr("job.json: "), HasSubstr(entry.place), HasSubstr(entry.reason)))
                << entry.text;
        }
    }
    EXPECT_NO_THROW(
        parse_job(R"({"scene": "a", "frames": 1, "jobInfo": {"a": 1}, "submitInfo": {"a": 1}})", ""));
}

TEST(JobFile, FilesThatCannotBeReadAreNamed) {
    for (const char* path : {"/nowhere/job.json", "/", "/dev/null"}) {
        try {
            read_job_file(path);
            ADD_FAILURE() << path << " was accepted";
        } catch (const JobFileError& error) {
            EXPECT_THAT(error.what(), testing::StartsWith(path));
        }
    }
}

}  // namespace
}  // namespace corrivane::worker
