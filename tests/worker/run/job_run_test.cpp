#include "worker/run/job_run.h"

#include "support/test.h"
#include "worker/job/frame_list.h"
#include "worker/job/output_names.h"
#include "worker/run/lane.h"
#include "worker/run/output_plan.h"
#include "worker/views/lines_view.h"

#include <boost/algorithm/string.hpp>

#include <algorithm>
#include <sstream>
#include <thread>

namespace corrivane::worker {
namespace {

using namespace testing;
using namespace std::chrono_literals;
using Status = FrameOutcome::Status;

class JobRunTest : public testing::Test {
protected:
    JobRunTest() {
        job.scene = "scene.gltf";
        job.frames = FrameList("1-3").frames();
        settings.host.program = FAKE_HOST_PROGRAM;
        settings.retries = 1;
        settings.verify = Verify::off;  // the fake host writes no images
    }

    JobReport run(const std::string& behaviour) {
        std::filesystem::remove(folder / "trace");
        settings.host.library = behaviour;
        settings.host.network = folder.path();
        CrashFiles crashes(folder / "crashes", [](const std::string&) {});
        LinesView view(out, crashes);
        EventStream events({&crashes, &view});
        JobReport report = run_job(job, settings, StopRequest(), events);
        events.close();
        for (const std::string& line : trace())
            if (line.starts_with("host ")) {
                EXPECT_EQ(::kill(std::stoi(line.substr(5)), 0), -1) << line << " is left";
            }
        return report;
    }

    static std::vector<Status> statuses(const JobReport& report) {
        std::vector<Status> result;
        for (const FrameOutcome& outcome : report.frames)
            result.push_back(outcome.status);
        return result;
    }

    std::vector<std::string> trace() const { return test::read_lines(folder / "trace"); }
    auto count(const std::string& begin) const {
        return std::ranges::count_if(trace(),
                                     [&](const std::string& line) { return line.starts_with(begin); });
    }
    auto count_hosts() const { return count("host "); }
    auto count_in_output(const std::string& text) const {
        std::vector<std::string> found;
        return boost::algorithm::find_all(found, out.str(), text).size();
    }

    test::TemporaryFolder folder;
    Job job;
    RunSettings settings;
    std::ostringstream out;
};

TEST_F(JobRunTest, RendersEveryFrameWithOneHost) {
    job.pre_script = "pre.ms";
    job.post_script = "post.ms";
    job.job_info["Name"] = "Robot";
    job.options.ignore_missing.files = true;
    job.options.alpha_split = true;
    const JobReport report = run("");
    EXPECT_TRUE(report.success()) << out.str();
    EXPECT_THAT(report.frames[2].files, Optional(ElementsAre(folder / "out3.png")));
    EXPECT_EQ(count_hosts(), 1);
    const auto lines = trace();
    EXPECT_THAT(
        std::vector(lines.begin() + 1, lines.begin() + 7),
        ElementsAre("IgnoreMissingExternalFiles", "StartJob,scene.gltf,", "AlphaSplit",
                    StartsWith("ExecuteStringScript,1,"), "ExecuteScript,1,pre.ms", "SUCCESS: Robot"));
    EXPECT_THAT(std::vector(lines.end() - 4, lines.end()),
                ElementsAre("ExecuteScript,1,post.ms", "SUCCESS: Robot", "EndJob", "end"));
    EXPECT_THAT(out.str(), AllOf(HasSubstr("script: second?[2J line\n"), HasSubstr("frame 3: done in ")));
}

TEST_F(JobRunTest, FramesAreSharedAmongHosts) {
    job.frames = FrameList("1-40").frames();
    settings.hosts = 3;
    EXPECT_TRUE(run("").success()) << out.str();
    EXPECT_EQ(count_hosts(), 3);
    for (const int frame : job.frames)
        EXPECT_THAT(trace(), Contains("RenderTask," + std::to_string(frame)).Times(1));
    EXPECT_EQ(count("EndJob"), 3);
}

TEST_F(JobRunTest, AFrameThatItsHostDidNotSurviveIsTriedAgain) {
    EXPECT_TRUE(run("die-once@2").success()) << out.str();
    EXPECT_EQ(count("RenderTask,2"), 2);
    EXPECT_THAT(out.str(), HasSubstr("frame 2: attempt 1 failed, it is tried again"));
    EXPECT_THAT(out.str(), HasSubstr("was ended by signal 9"));
}

TEST_F(JobRunTest, AFrameThatWasGivenUpOverMissedAnswersIsTriedAgainWhateverTheRetries) {
    settings.retries = 0;
    settings.retry_errors = false;
    EXPECT_TRUE(run("impatient@2").success()) << out.str();
    EXPECT_EQ(count("RenderTask,2"), 2);
    EXPECT_THAT(out.str(), HasSubstr("This worker was held up"));
    EXPECT_EQ(count_hosts(), 1);
}

TEST_F(JobRunTest, FramesFailWithTheirReasonAndTheJobGoesOn) {
    // How a host misbehaves, a part of frame 2's error, the attempts, and the hosts that the job took.
    const std::tuple<const char*, const char*, int, int> cases[] = {
        {"die", "signal 11 (Segmentation fault)\nlast output of the host:\nthe fake host listens\n", 2, 3},
        {"fail", "Access Violation\nfirst line of the report\nits last line\n[error] Renderer: out of memory",
         2, 1},
        {"throw", "MAXException caught in 3ds max: out of handles", 2, 3},
        {"die-at-files", "the host closed the connection", 2, 3},
    };
    for (const auto& [behaviour, reason, attempts, hosts] : cases) {
        const JobReport report = run(behaviour + std::string("@2"));
        EXPECT_THAT(statuses(report), ElementsAre(Status::done, Status::failed, Status::done)) << out.str();
        EXPECT_THAT(report.frames[1].error, AllOf(HasSubstr(reason), Not(HasSubstr("LoadFromFile"))));
        EXPECT_EQ(count("RenderTask,2"), attempts) << behaviour;
        EXPECT_EQ(count_hosts(), hosts) << behaviour;
        EXPECT_FALSE(report.success() || report.stopped);
        EXPECT_THAT(
            out.str(),
            Not(HasSubstr("frame 3: attempt 1 failed, it is tried again")));  // on a host that is gone
    }
}

TEST_F(JobRunTest, AHostThatHangsInAFrameIsEnded) {
    job.frames = {2};
    settings.limits.work = 2s;
    settings.retries = 0;
    EXPECT_THAT(run("hang@2").frames[0].error,
                HasSubstr("did not answer in time; it was ended by the worker"));
}

TEST_F(JobRunTest, AStartThatFailsEndsTheJobWithItsReason) {
    job.pre_script = "pre.ms";
    settings.limits.work = 1s;
    const std::tuple<const char*, const char*, int> cases[] = {
        {"exit", "exited with code 3\nlast output of the host:\nthe fake host listens\nthe library can't", 2},
        {"refuse-job",
         "The job can't be started: Failed to load max file: \"no.gltf\"\n"
         "[error] LoadFromFile: no.gltf: width 0",
         1},
        {"refuse-option", "The job can't be started: Unexpected command.", 1},
        {"fail-script", "the pre-script failed: Script did not return success: false", 1},
        {"hang-script", "No host starts the job: in the pre-script, the host did not answer", 2},
    };
    for (const auto& [behaviour, reason, hosts] : cases) {
        const JobReport report = run(behaviour);
        EXPECT_THAT(statuses(report), Each(Status::not_rendered));
        EXPECT_THAT(report.problems, ElementsAre(HasSubstr(reason))) << out.str();
        EXPECT_EQ(count_hosts(), hosts) << behaviour;
    }
}

TEST_F(JobRunTest, AHostThatDoesNotConnectOrIsNotThereEndsTheJob) {
    settings.limits.start = 200ms;
    EXPECT_THAT(run("silent").problems, ElementsAre(HasSubstr("the host did not connect in time")));
    settings.host.program = folder / "no-host";
    settings.hosts = 2;
    EXPECT_THAT(run("").problems, ElementsAre(HasSubstr("no-host: No such file")));
}

TEST_F(JobRunTest, AFailedPostScriptIsAProblemOfTheJob) {
    job.post_script = "post.ms";
    const std::tuple<const char*, const char*, int> cases[] = {
        {"fail-script", "Script did not return success: false", 1},
        {"throw-script", "Exception caught in 3ds max: no licence", 0},  // and the session was over
    };
    for (const auto& [behaviour, reason, ended_jobs] : cases) {
        const JobReport report = run(behaviour);
        EXPECT_THAT(statuses(report), Each(Status::done));
        EXPECT_THAT(report.problems, ElementsAre(std::string("The post script failed: ") + reason));
        EXPECT_EQ(count("EndJob"), ended_jobs) << behaviour;
        EXPECT_THAT(out.str(), Not(HasSubstr("failed at the end of the job")));
    }
}

TEST_F(JobRunTest, WhatHostsSayOfTheSceneIsShownOnce) {
    job.frames = FrameList("1-40").frames();
    settings.hosts = 2;
    for (const bool listener : {false, true}) {
        settings.show_host_output = listener;
        out.str("");
        EXPECT_TRUE(run("warn").success());
        // Each host's listener shows what that host printed; otherwise the two say the same.
        EXPECT_EQ(count_in_output("[warning] LoadFromFile: mesh 2 is odd\n"), listener ? 2 : 1) << out.str();
        EXPECT_EQ(count_in_output("[note]"), listener ? 2 : 0);
        EXPECT_EQ(count_in_output("warning from the end of the job: EndJob called too often"), 2);
    }
}

TEST_F(JobRunTest, AFileThatTheFrameDidNotWriteIsNotItsOwn) {
    settings.verify = Verify::fast;
    settings.retries = 0;
    job.frames = {1234};
    test::write_file(folder / "out1234.png", "of last week");
    EXPECT_THAT(run("lie@1234").frames[0].error, HasSubstr("older one"));
}

TEST(Lane, HostsShareTheCores) {
    EXPECT_EQ(threads_of(1, 3, 5), 5);
    EXPECT_EQ(threads_of(0, 1, 0), 0);  // the host's own default
    const int cores = static_cast<int>(std::thread::hardware_concurrency());
    for (const int hosts : {2, 3, 64}) {
        int threads = 0;
        for (int host = 0; host < hosts; ++host)
            threads += threads_of(host, hosts, 0);
        EXPECT_EQ(threads, std::max(cores, hosts));
    }
}

TEST_F(JobRunTest, AFloodIsCutShort) {
    settings.show_host_output = true;
    EXPECT_TRUE(run("flood@2").success());
    EXPECT_THAT(out.str(), HasSubstr("what follows is left out"));
    EXPECT_LT(out.str().size(), 1'000'000);
}

TEST(OutputPlan, NamesAreNumberedAsThePluginDoes) {
    const std::tuple<const char*, int, int, const char*> cases[] = {
        {R"(C:\out\beauty.png)", 12, 0, R"(C:\out\beauty0012.png)"},
        {R"(C:\out\beauty.png)", 12, -15, R"(C:\out\beauty-0003.png)"},
        {R"(C:\out.d/beauty)", 12345, 0, R"(C:\out.d/beauty12345)"},
        {"C:a.b.exr", 1, 0, "C:a.b0001.exr"},
        {"a", std::numeric_limits<int>::max(), 1, "a-2147483648"},
    };
    JobOptions options;
    for (const auto& [output, frame, base, name] : cases) {
        options.frame_base = base;
        EXPECT_EQ(frame_file_name(output, frame, options), name);
    }
    options.remove_padding = true;
    EXPECT_EQ(frame_file_name("a.png", 1, options), "a.png");
}

}  // namespace
}  // namespace corrivane::worker
