#include "worker/job_run.h"

#include "tests/worker/temporary_folder.h"
#include "worker/frame_list.h"
#include "worker/pidfd.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <thread>

namespace corrivane::worker {
namespace {

using namespace std::chrono_literals;
using testing::AllOf;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Status = FrameOutcome::Status;

class JobRunTest : public testing::Test {
protected:
    JobRunTest() {
        job.scene = "scene.gltf";
        job.frames = parse_frame_list("1-3");
        settings.host.program = FAKE_HOST_PROGRAM;
        settings.retries = 1;
    }

    JobReport run(const std::string& behaviour) {
        settings.host.arguments = {"--library", behaviour, "--network", folder.path()};
        ProgressView view(out, ProgressView::Style::Plain, job.frames.size(), lane_count(job, settings));
        JobReport report = run_job(job, settings, stop, view);
        expect_no_host_left();
        return report;
    }

    static std::vector<Status> statuses(const JobReport& report) {
        std::vector<Status> result;
        for (const FrameOutcome& outcome : report.frames)
            result.push_back(outcome.status);
        return result;
    }

    std::size_t count(const std::string& traced) const {
        const auto lines = folder.trace();
        return std::count(lines.begin(), lines.end(), traced);
    }

    std::vector<pid_t> host_pids() const {
        std::vector<pid_t> pids;
        for (const std::string& line : folder.trace())
            if (line.starts_with("host ")) pids.push_back(std::stoi(line.substr(5)));
        return pids;
    }

    void expect_no_host_left() const {
        for (const pid_t pid : host_pids())
            EXPECT_EQ(::pidfd_open(pid, 0), -1) << "host " << pid << " is left";
    }

    TemporaryFolder folder;
    Job job;
    RunSettings settings;
    StopRequest stop;
    std::ostringstream out;
};

TEST_F(JobRunTest, RendersEveryFrameWithOneHost) {
    job.pre_script = "pre.ms";
    job.post_script = "post.ms";
    settings.check_files = true;
    const JobReport report = run("");
    EXPECT_TRUE(report.success()) << out.str();
    EXPECT_THAT(report.frames[2].files, ElementsAre(folder.file("out3.png")));
    const auto trace = folder.trace();
    EXPECT_EQ(host_pids().size(), 1);
    EXPECT_THAT(trace, Contains("ExecuteScript,1,post.ms"));
    EXPECT_EQ(trace[trace.size() - 2], "EndJob");
    EXPECT_EQ(trace.back(), "end");
    EXPECT_THAT(out.str(),
                AllOf(HasSubstr("first line\nsecond?[2J line\n"), HasSubstr("] frame 3 done in ")));
}

TEST_F(JobRunTest, FramesAreSharedAmongHosts) {
    job.frames = parse_frame_list("1-40");
    settings.hosts = 3;
    EXPECT_TRUE(run("").success()) << out.str();
    EXPECT_EQ(host_pids().size(), 3);
    for (const int frame : job.frames)
        EXPECT_EQ(count("RenderTask," + std::to_string(frame)), 1);
    EXPECT_EQ(count("EndJob"), 3);
}

TEST_F(JobRunTest, AFrameThatItsHostDidNotSurviveIsTriedAgain) {
    EXPECT_TRUE(run("die-once@2").success()) << out.str();
    EXPECT_EQ(count("RenderTask,2"), 2);
    EXPECT_THAT(out.str(), HasSubstr("frame 2 is tried again"));
    EXPECT_THAT(out.str(), HasSubstr("was ended by signal 9"));
}

struct FrameCase {
    std::string behaviour;
    std::string reason;  // part of frame 2's error
    int attempts;
    std::size_t hosts;  // that the job took
};

void PrintTo(const FrameCase& frame_case, std::ostream* out) {
    *out << frame_case.behaviour;
}

class FailingFrames : public JobRunTest, public testing::WithParamInterface<FrameCase> {};

TEST_P(FailingFrames, FailWithTheirReasonAndTheJobGoesOn) {
    const bool hangs = GetParam().behaviour.starts_with("hang");
    settings.limits.work = hangs ? 2s : 60s;
    settings.retries = hangs ? 0 : 1;
    settings.check_files = true;
    const JobReport report = run(GetParam().behaviour + "@2");
    EXPECT_THAT(statuses(report), ElementsAre(Status::Done, Status::Failed, Status::Done)) << out.str();
    EXPECT_THAT(report.frames[1].error, HasSubstr(GetParam().reason));
    EXPECT_EQ(count("RenderTask,2"), GetParam().attempts);
    EXPECT_EQ(host_pids().size(), GetParam().hosts);
    EXPECT_FALSE(report.success());
    EXPECT_FALSE(report.stopped);
}

INSTANTIATE_TEST_SUITE_P(
    , FailingFrames,
    testing::Values(FrameCase{"die", "was ended by signal 11 (Segmentation fault)", 2, 3},
                    FrameCase{"die", "last output of the host:\nthe fake host listens\n", 2, 3},
                    FrameCase{"hang", "did not answer in time; it was ended by the worker", 1, 2},
                    FrameCase{"hang-deaf", "did not answer in time; it was killed by the worker", 1, 2},
                    FrameCase{"garbage", "Invalid packet size (given 4294967295)", 2, 3},
                    FrameCase{"fail", "Access Violation\nfirst line of the report\nits last line", 1, 1},
                    FrameCase{"throw", "MAXException caught in 3ds max: out of handles", 1, 2},
                    FrameCase{"empty-file", "out2.png\" is empty", 1, 1}));

TEST_F(JobRunTest, AFailedFramesErrorIsShownInFull) {
    run("fail@2");
    EXPECT_THAT(out.str(),
                HasSubstr("    SEH Exception trapped: Access Violation\n    first line of the report\n"
                          "    its last line\n"));
}

struct StartCase {
    std::string behaviour;
    std::string reason;
    std::size_t hosts;
};

void PrintTo(const StartCase& start_case, std::ostream* out) {
    *out << start_case.behaviour;
}

class FailingStarts : public JobRunTest, public testing::WithParamInterface<StartCase> {};

TEST_P(FailingStarts, EndTheJobWithTheirReason) {
    const bool waits = GetParam().behaviour == "silent" || GetParam().behaviour == "wrong-token";
    settings.limits.start = waits ? 500ms : 60000ms;
    job.pre_script = "pre.ms";
    const JobReport report = run(GetParam().behaviour);
    EXPECT_THAT(statuses(report), Each(Status::NotRendered));
    ASSERT_EQ(report.problems.size(), 1) << out.str();
    EXPECT_THAT(report.problems[0], HasSubstr(GetParam().reason));
    EXPECT_EQ(host_pids().size(), GetParam().hosts);
}

INSTANTIATE_TEST_SUITE_P(, FailingStarts,
                         testing::Values(StartCase{"exit", "exited with code 3", 2},
                                         StartCase{"exit", "the library can't be loaded", 2},
                                         StartCase{"silent", "the host did not connect in time", 2},
                                         StartCase{"wrong-token", "No host comes up", 2},
                                         StartCase{"refuse-job", "Failed to load max file: \"no.gltf\"", 1},
                                         StartCase{"fail-script", "Script did not return success: false",
                                                   1}));

TEST_F(JobRunTest, AHostProgramThatIsNotThereEndsTheJob) {
    settings.host.program = folder.file("no-host");
    settings.hosts = 2;
    EXPECT_THAT(run("").problems, ElementsAre(HasSubstr("no-host: No such file")));
}

TEST_F(JobRunTest, AFailedPostScriptIsAProblemOfTheJob) {
    job.post_script = "post.ms";
    const JobReport report = run("fail-script");
    EXPECT_THAT(statuses(report), Each(Status::Done));
    EXPECT_THAT(report.problems, ElementsAre("The post script failed: Script did not return success: false"));
}

TEST_F(JobRunTest, AStopEndsTheFrameTheJobAndTheHostInOrder) {
    std::thread user([this] {
        while (count("rendering on") == 0)
            std::this_thread::sleep_for(10ms);
        stop.raise();
    });
    const JobReport report = run("render-on@2");
    user.join();
    EXPECT_TRUE(report.stopped);
    EXPECT_THAT(statuses(report), ElementsAre(Status::Done, Status::NotRendered, Status::NotRendered));
    const auto trace = folder.trace();
    EXPECT_THAT(std::vector(trace.end() - 3, trace.end()), ElementsAre("aborted", "EndJob", "end"));
}

TEST_F(JobRunTest, ASecondStopKillsAHostThatDoesNotReact) {
    std::thread user([this] {
        while (count("RenderTask,2") == 0)
            std::this_thread::sleep_for(10ms);
        stop.raise();
        stop.raise();
    });
    const auto begin = Clock::now();
    EXPECT_TRUE(run("hang-deaf@2").stopped);
    EXPECT_LT(Clock::now() - begin, k_stop_patience);
    user.join();
}

}  // namespace
}  // namespace corrivane::worker
