// Job files, command lines and frame lists, and the commands that become of them.
#include "support/test.h"
#include "worker/cli/options.h"
#include "worker/job/command_line_text.h"
#include "worker/job/common_faults.h"
#include "worker/job/frame_list.h"
#include "worker/job/job_commands.h"
#include "worker/job/output_names.h"
#include "worker/settings/job_documents.h"
#include "worker/settings/job_file.h"

#include <boost/tokenizer.hpp>

#include <iterator>
#include <sstream>

namespace corrivane::worker {
namespace {

using namespace testing;
using namespace std::chrono_literals;

/// The arguments stand in one text, with blanks between them; "" is an empty one.
ParsedCommandLine parse(const std::string& command_line) {
    std::istringstream words("corrivane-worker " + command_line);
    const std::vector<std::string> texts{std::istream_iterator<std::string>(words), {}};
    std::vector<const char*> arguments;
    for (const std::string& text : texts)
        arguments.push_back(text == "\"\"" ? "" : text.c_str());
    return parse_command_line(static_cast<int>(arguments.size()), arguments.data());
}

constexpr const char* whole_file = R"({
    "name": "a_job", "comment": "two", "outputFolder": "/out", "keepGoing": true,
    "scene": "a,b.gltf", "camera": "Camera01", "frames": "-3", "output": "C:\\out\\b.png",
    "options": {
        "frameBase": -7, "region": {"left": -1, "top": 2, "right": 30, "bottom": 40, "padding": 8},
        "jpegPreview": "C:\\previews", "failOnBlack": {"percentage": 95, "threshold": 0.5},
        "ignoreMissing": ["files", "uvws", "dlls", "xrefs"],
        "restartRenderer": true, "hideFrameBuffer": true, "removePadding": true, "alphaSplit": true},
    "jobInfo": {"Name": "Robot", "Priority": 50, "Urgent": true},
    "submitInfo": {"Pools": ["night", 2], "Name": "ana"},
    "auxFiles": ["a.txt", "b.txt"], "preScript": "pre.ms", "postScript": "post.ms",
    "hosts": 3, "retries": 0, "retryErrors": false, "loadTimeout": 7, "verify": "fast", "resume": true,
    "finishFrames": true, "threads": 2, "nice": 5, "memory": 4096, "quietTimeout": 9,
    "host": "my-host", "drives": {"C": "here", "d": "there"}, "network": "net", "library": "x.dlx",
    "startTimeout": 5, "frameTimeout": 0, "showListener": true})";

constexpr const char* whole_command_line =
    "render a,b.gltf --name a_job --comment two --output-folder /out --keep-going --camera Camera01 --frames "
    "-3 --output C:\\out\\b.png --frame-base -7 "
    "--region -1,2,30,40 --region-padding 8 --jpeg-preview C:\\previews --fail-on-black 95,0.5 "
    "--ignore-missing files,dlls --ignore-missing uvws,xrefs --restart-renderer --hide-frame-buffer "
    "--remove-padding --alpha-split --job-info Name=Robot --job-info Priority=50 --job-info Urgent=true "
    "--submit-info Pools=night --submit-info Pools=2 --submit-info Name=ana --aux-file a.txt "
    "--aux-file b.txt --pre-script pre.ms --post-script post.ms --hosts 3 --retries 0 --load-timeout 7 "
    "--retry-errors off --check --verify fast --resume --finish-frames --threads 2 --nice 5 --memory 4096 "
    "--quiet-timeout 9 --host my-host --drive C=here --drive d=there --network net --library x.dlx "
    "--start-timeout 5 --frame-timeout 0 --show-listener";

void expect_whole_job(const Job& job) {
    const JobCommands commands = make_job_commands(job);
    EXPECT_THAT(commands.before_start, ElementsAre("IgnoreMissingExternalFiles", "IgnoreMissingUVWs",
                                                   "IgnoreMissingDLLs", "IgnoreMissingXREFs"));
    EXPECT_EQ(commands.start, R"(StartJob,"a,b.gltf",Camera01)");
    EXPECT_THAT(commands.after_start,
                ElementsAre(R"(OutputImageFilename,C:\\out\\b.png)", "FrameNumberBase,-7",
                            "RegionRendering,8,-1,2,30,40", R"(UseJpegOutput,C:\\previews\\)",
                            "FailOnBlackFrames,95,0.5", "RestartRendererMode", "HideFrameBuffer",
                            "RemovePadding", "AlphaSplit"));
    EXPECT_EQ(commands.pre_script, "ExecuteScript,-3,pre.ms");
    EXPECT_EQ(commands.post_script, "ExecuteScript,-3,post.ms");
    EXPECT_THAT(job.job_info,
                UnorderedElementsAre(Pair("Name", "Robot"), Pair("Priority", "50"), Pair("Urgent", "true")));
    EXPECT_THAT(job.submit_info, UnorderedElementsAre(Pair("Pools", ElementsAre("night", "2")),
                                                      Pair("Name", ElementsAre("ana"))));
    EXPECT_THAT(job.aux_files, ElementsAre("a.txt", "b.txt"));
    EXPECT_EQ(job.name + ' ' + job.comment + ' ' + job.output_folder.value_or(""), "a_job two /out");
}

void expect_whole_run(const RunSettings& run) {
    EXPECT_EQ(run.hosts, 3);
    EXPECT_EQ(run.retries, 0);
    EXPECT_TRUE(run.resume && run.finish_frames && run.show_host_output && !run.retry_errors &&
                run.keep_going);
    EXPECT_EQ(run.verify, Verify::fast);
    EXPECT_EQ(run.host.threads, 2);
    EXPECT_EQ(run.host.nice, 5);
    EXPECT_EQ(run.host.memory_mib, 4096);
    EXPECT_EQ(run.limits.quiet, 9s);
    EXPECT_EQ(run.limits.start, 5s);
    EXPECT_EQ(run.limits.load, 7s);
    EXPECT_EQ(run.limits.work, std::chrono::milliseconds::max());
    EXPECT_EQ(run.host.program, "my-host");
    EXPECT_THAT(run.host.drives, ElementsAre(Pair('C', "here"), Pair('D', "there")));
    EXPECT_EQ(run.host.network, "net");
    EXPECT_EQ(run.host.library, "x.dlx");
}

TEST(JobSettings, AFileAndACommandLineCanSayTheSame) {
    JobSettings file = parse_job(whole_file, "job.json", "");
    file.job.frames = file.frames.frames();
    expect_whole_job(file.job);
    expect_whole_run(file.run);
    const auto parsed = parse(whole_command_line);
    ASSERT_TRUE(parsed.invocation);
    expect_whole_job(parsed.invocation->settings.job);
    expect_whole_run(parsed.invocation->settings.run);
}

TEST(JobSettings, FramesMayBeNumbersAndPreviewFoldersEndAnyway) {
    EXPECT_THAT(parse_job(R"({"frames": -4})", "", "").frames.frames(), ElementsAre(-4));
    EXPECT_THAT(parse_job(R"({"frames": [3, "-1-0", 3]})", "", "").frames.frames(), ElementsAre(3, -1, 0));
    Job job;
    job.options.jpeg_preview = R"(C:\p\)";
    EXPECT_THAT(make_job_commands(job).after_start, ElementsAre(R"(UseJpegOutput,C:\\p\\)"));
    job.options.jpeg_preview = "/mnt/p/";
    EXPECT_THAT(make_job_commands(job).after_start, ElementsAre("UseJpegOutput,/mnt/p/"));
}

TEST(JobSettings, AWrittenJobReadsTheSame) {
    const std::string text = job_file_text(parse_job(whole_file, "", ""));
    const JobSettings again = parse_job(text, "", "/elsewhere");
    EXPECT_EQ(job_file_text(again), text);
    EXPECT_EQ(again.run.host.program, std::filesystem::current_path() / "my-host");
    EXPECT_EQ(again.run.limits.work, std::chrono::milliseconds::max());
}

TEST(JobSettings, PathsInAFileStartAtItsFolder) {
    const test::TemporaryFolder folder;
    test::write_file(folder / "left.txt", "3\n5-6 # lost\n");
    const JobSettings settings = parse_job(
        R"({"scene": "s/a.gltf", "output": "out\\a.####.png", "outputFolder": "C:/out", "frames": "@left.txt",
            "options": {"jpegPreview": "\\\\farm\\out"}, "auxFiles": ["/a", "b"], "preScript": "C:\\pre.ms",
            "host": "my-host", "drives": {"D": "d"}, "network": "/net"})",
        "", folder.path());
    const std::string base = folder / "";
    EXPECT_EQ(settings.job.scene, base + "s/a.gltf");
    EXPECT_EQ(settings.job.output, base + "out\\a..png");
    EXPECT_EQ(settings.job.output_folder, "C:/out");
    EXPECT_EQ(settings.job.options.jpeg_preview, "\\\\farm\\out");
    EXPECT_THAT(settings.job.aux_files, ElementsAre("/a", base + "b"));
    EXPECT_EQ(settings.job.pre_script, "C:\\pre.ms");
    EXPECT_EQ(settings.run.host.program, base + "my-host");
    EXPECT_EQ(settings.run.host.drives.at('D'), base + "d");
    EXPECT_EQ(settings.run.host.network, "/net");
    EXPECT_THAT(settings.frames.frames(), ElementsAre(3, 5, 6));
}

TEST(JobSettings, DocumentsTellEveryKey) {
    EXPECT_EQ(test::read_file(DOCS_FOLDER "/job.schema.json"), job_schema_text())
        << "run cmake/refresh_job_docs.sh";
    EXPECT_THAT(test::read_file(DOCS_FOLDER "/jobs.md"), EndsWith(job_key_table()))
        << "run cmake/refresh_job_docs.sh";
    const std::string example = test::read_file(DOCS_FOLDER "/../examples/carousel.json");
    EXPECT_NO_THROW(parse_job(example, "", ""));
    EXPECT_THAT(test::read_file(DOCS_FOLDER "/jobs.md"), HasSubstr(example));
}

TEST(JobSettings, OptionsReplaceWhatTheFileSaysAndNoMore) {
    const test::TemporaryFolder folder;
    test::write_file(folder / "job.json", whole_file);
    const auto parsed =
        parse("run " + (folder / "job.json") +
              " --frames 9 --frame-base 6 --region-padding 1 --ignore-missing files --alpha-split=false "
              "--job-info Name=x --submit-info Pools=day --drive D=elsewhere --aux-file c.txt");
    ASSERT_TRUE(parsed.invocation);
    const Job& job = parsed.invocation->settings.job;
    EXPECT_THAT(job.frames, ElementsAre(9));
    const JobCommands commands = make_job_commands(job);
    EXPECT_THAT(commands.before_start, ElementsAre("IgnoreMissingExternalFiles"));
    EXPECT_THAT(commands.after_start,
                AllOf(SizeIs(8), Contains("FrameNumberBase,6"), Contains("RegionRendering,1,-1,2,30,40")));
    EXPECT_EQ(job.job_info.at("Name"), "x");
    EXPECT_EQ(job.job_info.size(), 3);
    EXPECT_THAT(job.submit_info.at("Pools"), ElementsAre("day"));
    EXPECT_THAT(job.aux_files, ElementsAre("c.txt"));
    const HostSettings& host = parsed.invocation->settings.run.host;
    EXPECT_THAT(host.drives, ElementsAre(Pair('C', folder / "here"), Pair('D', "elsewhere")));
}

TEST(JobSettings, WrongCommandLinesAreExplained) {
    const std::pair<const char*, const char*> cases[] = {
        {"", "subcommand"},
        {"paint", "\"paint\" is none of the commands"},
        {"render --frames 1", "scene"},
        {"render a", "--frames"},
        {"render a --frames 1-", "--frames: frame list, column 3"},
        {"render C:scenesa.gltf --frames 1", "scene: \"C:scenesa.gltf\" has no \\ behind its drive"},
        {"render a --frames 1 --output beauty.##.png", "write \"beauty.####.png\", or \"beauty..png\""},
        {"render a --frames @/nowhere/left.txt", "--frames: /nowhere/left.txt: "},
        {"render a --frames 1 --frames 2", "--frames"},
        {"render a --frames 1 --region 1,2,3", "--region: \"1,2,3\" is not of the form L,T,R,B"},
        {"render a --frames 1 --region 5,5,1,1", "region"},
        {"render a --frames 1 --region-padding 5", "needs --region"},
        {"render a --frames 1 --fail-on-black 50 --drive C=x", "--fail-on-black: \"50\" is not of the form"},
        {"render a --frames 1 --ignore-missing files,all", "--ignore-missing: \"all\" is none of files"},
        {"render a --frames 1 --hosts 0", "--hosts: must be from 1 to 64"},
        {"render a --frames 1 --hosts 2x", "--hosts: \"2x\" is not"},
        {"render a --frames 1 --start-timeout 0", "--start-timeout: must be from 1"},
        {"render a --frames 1 --load-timeout -1", "--load-timeout: must not be negative"},
        {"render a --frames 1 --load-timeout 31536001", "--load-timeout: must be from 1 to 31536000"},
        {"render a --frames 1 --frame-base 99999999999", "--frame-base"},
        {"render a --frames 1 --alpha-split=1x", "--alpha-split"},
        {"render a --frames 1 --job-info =x", "--job-info: \"=x\" is not of the form KEY=VALUE"},
        {"render a --frames 1 --drive C", "--drive: \"C\""},
        {"render a --frames 1 --drive 4=x", "--drive: \"4\" is not the letter of a drive"},
        {"render a --frames 1 --drive C=", "--drive: drive C has no folder"},
        {"render a --frames 1 --drive C=a --drive c=b", "drive C is given twice"},
        {"render a --frames 1 --drive C=/dev/null", "--drive: \"/dev/null\" is not a folder"},
        {"script a.ms --network /dev/null", "--network: \"/dev/null\" is not a folder"},
        {"script a.ms --network \"\"", "--network: is empty"},
        {"render a --frames 1-2 --remove-padding", "one frame"},
        {"run /nowhere/job.json", "/nowhere/job.json"},
        {"run /", "/: it is not a file"},
        {"script", "file"},
        {"render a --frames 1 --frmae-base=2", "Did you mean --frame-base?"},
        {"info", "scene"},
        {"script a.ms --frames 1", "--frames"},
    };
    for (const auto& [command_line, reason] : cases) {
        internal::CaptureStderr();
        const auto parsed = parse(command_line);
        EXPECT_THAT(internal::GetCapturedStderr(), HasSubstr(reason));
        EXPECT_FALSE(parsed.invocation) << reason;
        EXPECT_EQ(parsed.exit_code, usage_exit_code) << reason;
    }
}

TEST(JobSettings, WrongFilesAreExplained) {
    // Where a text begins with a key, it is members of a job that is right otherwise.
    const std::pair<const char*, const char*> cases[] = {
        {"", "parse error at line 1"},
        {"{\"scene\": \"a\",\n oops}", "parse error at line 2"},
        {"[\"\xff\"]", "UTF-8"},
        {"[]", "job.json: the document should be an object"},
        {R"({"scene": 5, "frames": 1})", "scene should be a string"},
        {R"({"scene": "a", "scene": "b", "frames": 1})", "scene: is there twice"},
        {R"({"scene": "a", "frames": "1-"})", "frames: frame list, column 3: the range's last"},
        {R"({"scene": "a", "frames": []})", "frames: the frame list names no frames"},
        {R"({"scene": "C:a.gltf"})", "scene: \"C:a.gltf\" has no \\ behind its drive"},
        {R"({"scene": "a", "frames": "@/nowhere"})", "frames: /nowhere: "},
        {R"({"scene": "a", "frames": [1, 2.5]})", "frames[1] should be a whole number from -2147483648"},
        {R"({"scene": "a", "frames": true})", "frames should be a whole number from -2147483648"},
        {R"("camera": "a\u0000b")", "camera: holds a NUL"},
        {R"("Camera": "x")", "Camera: is not a key that is known here; did you mean \"camera\"?"},
        {R"("options": {"alpha-splt": true})",
         "options.alpha-splt: is not a key that is known here; did you mean \"options.alphaSplit\"?"},
        {R"("regoin": 1)", "did you mean \"options.region\"?"},
        {R"("whatever": 1)", "whatever: is not a key that is known here"},
        {R"("output": "")", "output: is empty"},
        {R"("options": [])", "options should be an object"},
        {R"("options.alphaSplit": true)", "options.alphaSplit: is not a key"},
        {R"("options": {"frameBase": "1"})", "options.frameBase should be a whole number from -2147483648"},
        {R"("options": {"alphaSplit": 1})", "options.alphaSplit should be true or false"},
        {R"("options": {"region": {"left": 1}})", "options.region lacks \"top\""},
        {R"("options": {"region": {"depth": 1}})", "options.region.depth"},
        {R"("options": {"failOnBlack": {"percentage": 1, "threshold": "x"}})",
         "options.failOnBlack.threshold should be a number"},
        {R"("options": {"ignoreMissing": ["files", "all"]})", "options.ignoreMissing[1]"},
        {R"("jobInfo": {"x": {}})", "jobInfo.x"},
        {R"("submitInfo": {"x": [[]]})", "submitInfo.x[0]"},
        {R"("auxFiles": "a")", "auxFiles should be an array"},
        {R"("drives": {"CD": "a"})", "drives: \"CD\" is not the letter of a drive"},
    };
    for (const auto& [begin, reason] : cases) {
        std::string text = begin;
        if (text.starts_with('"')) text = R"({"scene": "a", "frames": 1, )" + text + '}';
        EXPECT_THAT(test::message_of([&] { parse_job(text, "job.json", ""); }),
                    AllOf(StartsWith("job.json: "), HasSubstr(reason)))
            << text;
    }
}

TEST(JobSettings, JobsThatCannotBeAreRefused) {
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
    for (const Region& region : {Region{10, 0, 10, 5, 0}, Region{0, 9, 10, 5, 0}, Region{0, 0, 10, 5, -1},
                                 Region{0, 0, 2147483647, 5, 0}})
        expect_refused([&](Job& job) { job.options.region = region; });
    for (const BlackFrameCheck& check : {BlackFrameCheck{101, 0}, BlackFrameCheck{-1, 0},
                                         BlackFrameCheck{50, -0.1F}, BlackFrameCheck{50, std::stof("nan")}})
        expect_refused([&](Job& job) { job.options.fail_on_black = check; });
    expect_refused([&](Job& job) { job.job_info["key"] += 'x'; });
    expect_refused([&](Job& job) { job.submit_info["key"] = {longest_value, ""}; });
    expect_refused([](Job& job) { job.aux_files.emplace_back("a\0b", 3); });
}

TEST(JobSettings, WhoAsksIsAnswered) {
    const std::pair<const char*, const char*> questions[] = {{"render --help", "[options.frameBase]"},
                                                             {"--version", "corrivane-worker "},
                                                             {"-V", "corrivane-worker "}};
    for (const auto& [question, answer] : questions) {
        internal::CaptureStdout();
        const auto parsed = parse(question);
        EXPECT_THAT(internal::GetCapturedStdout(), HasSubstr(answer));
        EXPECT_FALSE(parsed.invocation);
        EXPECT_EQ(parsed.exit_code, 0);
    }
}

TEST(FrameList, NamesFramesInOrder) {
    const std::pair<const char*, std::vector<int>> cases[] = {
        {"7", {7}},
        {"1-4", {1, 2, 3, 4}},
        {"1,3,5..7", {1, 3, 5, 6, 7}},
        {"1-9x4,60", {1, 5, 9, 60}},
        {"-5--3", {-5, -4, -3}},
        {"-1..1", {-1, 0, 1}},
        {"4-4,4-1", {4, 3, 2, 1}},
        {"10-1x4", {10, 6, 2}},
        {"10-1x-4", {10, 6, 2}},
        {"1-10y3", {2, 3, 5, 6, 8, 9}},
        {"5-1y2", {4, 2}},
        {"1-10:5", {1, 6, 3, 5, 7, 9, 2, 4, 8, 10}},
        {"5-1:-2", {5, 3, 1, 4, 2}},
        {" 5 , 1 - 2,\t8 .. 9 x 1 ", {5, 1, 2, 8, 9}},
        {"# left\n3\r\n\n4-5 # two\n", {3, 4, 5}},
        {"9,all", {9, 2, 3, 4, 5}},
        {"allx2, ally2", {2, 4, 3, 5}},
        {"all:2", {2, 4, 3, 5}},
        {"2147483646-2147483647", {2147483646, 2147483647}},
        {"-2147483648-2147483647x2147483647", {-2147483647 - 1, -1, 2147483646}},
    };
    for (const auto& [text, frames] : cases)
        EXPECT_EQ(FrameList(text).frames(FrameRange{2, 5}), frames) << text;
    EXPECT_EQ(FrameList("1-200000y2").frames().size(), max_frames);
    EXPECT_EQ(frame_list_text({5, 1, 2, 3, -1, 0, 7, 6}), "5,1-3,-1-0,7,6");
}

TEST(FrameList, RefusesWhatIsNoList) {
    const std::pair<const char*, const char*> cases[] = {
        {"", "names no frames; frames are 7, 1-48, 48-1, 1-48x2"},
        {" # none", "names no frames"},
        {"1,,2", "column 3: a frame is missing"},
        {"1,", "column 3: a frame is missing"},
        {"a", "column 1: \"a\" is not a frame; frames are"},
        {"1-5,x", "column 5: \"x\" is not a frame"},
        {"1\n2-\n", "line 2, column 3: the range's last frame is missing"},
        {"1-5x", "column 5: a step is missing"},
        {"1-5x0", "column 5: a step of 0"},
        {"1-5x-2", "column 5: the step leads away"},
        {"7x-2", "leads away"},
        {"1-5y1", "a step of 1 leaves no frame out"},
        {"1-5 7", "column 5: \"7\" means nothing here"},
        {"1-5-9", "column 4: \"-9\" means nothing here"},
        {"all-9", "column 4: \"-9\""},
        {"2147483648", "beyond 32 bits"},
        {"-2147483648-2147483647", "column 1: \"-2147483648-2147483647\" makes the list longer than 100000"},
        {"1-200002y2", "longer than 100000"},
        {"1-60000,100001-160000", "column 9: \"100001-160000\" makes"},
    };
    for (const auto& [text, reason] : cases)
        EXPECT_THAT(test::message_of([&] { FrameList{text}; }), HasSubstr(reason)) << text;
    EXPECT_THROW(FrameList("all").frames(FrameRange{1, 200000}), std::invalid_argument);
}

/// The fields as the plug-in splits them.
std::vector<std::string> split(const std::string& line) {
    const boost::tokenizer<boost::escaped_list_separator<char>> fields(line);
    return {fields.begin(), fields.end()};
}

TEST(OutputNames, ANumbersPlaceIsWhereThePluginPutsIt) {
    const std::pair<const char*, const char*> cases[] = {
        {"C:\\shot##1\\beauty.####.png", "C:\\shot##1\\beauty..png"},
        {"beauty####.png", "beauty.png"},
        {"take#3.png", "take#3.png"},
        {"b.#####.png", "refused: write \"b.####.png\", or \"b..png\""},
        {"b#.png", "refused: write \"b####.png\", or \"b.png\""},
        {"####_b.png", "refused: write \"_b####.png\", or \"_b.png\""},
    };
    for (const auto& [name, result] : cases) {
        std::string found;
        try {
            found = without_number_place(name);
        } catch (const std::invalid_argument& error) {
            const std::string reason = error.what();
            found = "refused: " + reason.substr(reason.find("write"));
        }
        EXPECT_EQ(found, result);
    }
    EXPECT_EQ(moved_to_folder("C:\\x", "D:/a/b.png"), "C:\\x\\b.png");
    EXPECT_EQ(moved_to_folder("/x/", "\\\\farm\\out\\b.png"), "/x/b.png");
    EXPECT_EQ(moved_to_folder("C:/x", "b.png"), "C:/x/b.png");
    EXPECT_EQ(element_outputs_script({"", "C:\\x\\a.exr"}),
              "(local manager = maxOps.GetCurRenderElementMgr(); "
              "manager.SetRenderElementFilename 1 @\"C:\\x\\a.exr\"; \"\")");
    EXPECT_EQ(element_outputs_script({""}), "");
}

TEST(CommonFaults, AreThoseThatEveryFrameHas) {
    const std::pair<const char*, bool> cases[] = {
        {"Error in bm->OpenOutput(): error code 5\n[error] OpenOutput", true},
        {"Error in bm->Write(): error code 112", true},
        {"Error in bm->OpenOutput(): error code 50", true},
        {"Error in bm->OpenOutput(): error code 1117", false},
        {"Error in bm->OpenOutput(): error code x", false},
        {"The output file name is too long for frame 7: \"a\"", true},
        {"Trapped SEH Exception in CurRendererRenderFrame(): Access Violation", false},
        {"Failed to open the max renderer.", false},
    };
    for (const auto& [error, expected] : cases)
        EXPECT_EQ(is_fault_of_every_frame(error), expected) << error;
}

TEST(CommandLineText, TheSplitterGivesBackEveryField) {
    std::string all_other_bytes;
    for (int c = 1; c < 256; ++c)
        all_other_bytes += static_cast<char>(c);
    const std::string fields[] = {"",
                                  "plain",
                                  R"(C:\new\scene.gltf)",
                                  R"(\\server\share\a,b.gltf)",
                                  "a,b",
                                  R"("quoted")",
                                  R"(a",\)",
                                  "two\nlines",
                                  R"(\n)",
                                  ",",
                                  "\\",
                                  " blanks kept ",
                                  "\"",
                                  "\n,\"\\",
                                  all_other_bytes};
    for (const std::string& first : fields)
        for (const std::string& second : fields)
            EXPECT_EQ(split(command_line("Name", {first, second})),
                      (std::vector<std::string>{"Name", first, second}));
}

TEST(CommandLineText, RefusesWhatNoMessageCarries) {
    EXPECT_THROW(command_line("A", {std::string("a\0b", 3)}), std::invalid_argument);
    EXPECT_NO_THROW(command_line("A", {std::string(99994, 'x')}));
    EXPECT_THROW(command_line("A", {std::string(99995, 'x')}), std::invalid_argument);
}

}  // namespace
}  // namespace corrivane::worker
