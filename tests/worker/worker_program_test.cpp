// Runs the worker's program with fake hosts.
#include "support/running_program.h"
#include "support/test.h"
#include "worker/base/pidfd.h"
#include "worker/base/wait.h"
#include "worker/hosts/host_connection.h"
#include "worker/hosts/host_process.h"

#include <csignal>
#include <thread>

namespace corrivane::worker {
namespace {

using namespace testing;
using namespace std::chrono_literals;

class WorkerProgramTest : public testing::Test {
protected:
    /// The worker as a process, with fake hosts that behave as told.
    HostProcess start(std::vector<std::string> arguments, const std::string& behaviour) {
        arguments.insert(arguments.end(),
                         {"--host", FAKE_HOST_PROGRAM, "--library", behaviour, "--network", folder.path()});
        if (arguments[0] == "render") arguments.insert(arguments.end(), {"--verify", "off"});
        return HostProcess(WORKER_PROGRAM, arguments, {},
                           [this](std::string_view line) { output += std::string(line) + '\n'; });
    }

    std::string run(const std::vector<std::string>& arguments, const std::string& behaviour) {
        return start(arguments, behaviour).end(30s, m_no_stop);
    }

    /// Waits, while the worker runs, until a fake host has traced the line.
    void wait_for_trace(HostProcess& worker, const std::string& line) {
        const Deadline deadline = deadline_in(30s);
        while (!Value(trace(), Contains(line))) {
            ASSERT_LT(Clock::now(), deadline) << output;
            if (wait_readable({worker.output_fd()}, deadline_in(10ms))) worker.read_output();
        }
    }

    void wait_for_output(HostProcess& worker, const std::string& text) const {
        const Deadline deadline = deadline_in(30s);
        while (output.find(text) == std::string::npos && wait_readable({worker.output_fd()}, deadline))
            worker.read_output();
    }

    static void signal(const HostProcess& worker, int number) { ASSERT_EQ(::kill(worker.pid(), number), 0); }

    std::string end(HostProcess& worker) { return worker.end(30s, m_no_stop); }

    std::vector<std::string> trace() const { return test::read_lines(folder / "trace"); }

    test::TemporaryFolder folder;
    std::string output;

private:
    StopRequest m_no_stop;
};

TEST_F(WorkerProgramTest, RunsAScriptAndTellsFailureByItsExitCode) {
    EXPECT_EQ(run({"render", "a.gltf", "--frames", "oops"}, ""), "exited with code 2");
    EXPECT_EQ(run({"render", "a.gltf", "--frames", "1"}, "refuse-job"), "exited with code 3");
    EXPECT_EQ(run({"render", "a.gltf", "--frames", "all"}, ""), "exited with code 3");
    EXPECT_THAT(output, HasSubstr("> name the frames by their numbers"));
    output.clear();
    EXPECT_EQ(run({"script", "a.ms", "--frame", "4", "--set-time"}, ""), "exited with code 0");
    EXPECT_EQ(output, "first line\nsecond?[2J line\nThe script succeeded.\n");
    EXPECT_THAT(trace(), Contains("ExecuteScript,4,a.ms,setTime"));
    EXPECT_EQ(run({"script", "a.ms"}, "fail-script"), "exited with code 1");
    EXPECT_THAT(output, HasSubstr("The script failed: Script did not return success: false\n"));
    EXPECT_EQ(run({"render", "a.gltf", "--frames", "1"}, "refuse-job"), "exited with code 3");
    EXPECT_EQ(run({"script", "a.ms"}, "exit"), "exited with code 1");
    EXPECT_THAT(output, HasSubstr("exited with code 3\nlast output of the host:\n"));
}

TEST_F(WorkerProgramTest, CtrlCAbortsTheFrameAndEndsInOrder) {
    for (const int number : {SIGINT, SIGTERM}) {
        output.clear();
        std::filesystem::remove(folder / "trace");
        HostProcess worker = start({"render", "a.gltf", "--frames", "1-9"}, "render-on@2");
        wait_for_trace(worker, "rendering on");
        signal(worker, number);
        EXPECT_EQ(end(worker), "exited with code " + std::to_string(128 + number));
        const auto lines = trace();
        EXPECT_THAT(std::vector(lines.end() - 3, lines.end()), ElementsAre("aborted", "EndJob", "end"));
        EXPECT_THAT(output, AllOf(HasSubstr("Stopping"), HasSubstr("1 done, 0 failed, 8 not rendered")));
    }
}

TEST_F(WorkerProgramTest, ASecondCtrlCKillsTheHost) {
    HostProcess worker = start({"render", "a.gltf", "--frames", "1-9"}, "hang-deaf@2");
    wait_for_trace(worker, "RenderTask,2");
    signal(worker, SIGINT);
    wait_for_output(worker, "Stopping");
    const auto begin = Clock::now();
    signal(worker, SIGINT);
    EXPECT_EQ(end(worker), "exited with code 130");
    EXPECT_LT(Clock::now() - begin, stop_patience);  // what one wish to stop takes with such a host
}

TEST_F(WorkerProgramTest, AStoppedScriptIsNoFailure) {
    HostProcess worker = start({"script", "loop.ms"}, "hang-script");
    wait_for_trace(worker, "ExecuteScript,0,loop.ms");
    signal(worker, SIGINT);
    wait_for_output(worker, "Stopping");
    // The script does not end for the user's sake, so the test shortens the worker's patience with the host.
    ::kill(std::stoi(trace()[0].substr(5)), SIGKILL);
    EXPECT_EQ(end(worker), "exited with code 130");
    EXPECT_THAT(output, EndsWith("\nstopped by the user\n"));
}

TEST_F(WorkerProgramTest, LostOutputEndsNoJobButIsAFailure) {
    for (const std::string output_end : {"> /dev/full", "| true"}) {
        std::filesystem::remove(folder / "trace");
        output.clear();
        // The worker begins when nobody takes its output any more.
        const std::string command =
            "{ (trap '' PIPE; while echo; do :; done) 2> /dev/null; \"$0\" \"$@\"; echo status $? >&2; } " +
            output_end;
        HostProcess shell("/bin/sh",
                          {"-c", command, WORKER_PROGRAM, "render", "a.gltf", "--frames", "1-3", "--verify",
                           "off", "--host", FAKE_HOST_PROGRAM, "--network", folder.path()},
                          {}, [this](std::string_view line) { output += std::string(line) + '\n'; });
        end(shell);
        EXPECT_EQ(output, "corrivane-worker: standard output could not be written\nstatus 1\n");
        EXPECT_THAT(trace(), Contains("RenderTask,3"));
    }
}

TEST_F(WorkerProgramTest, FramesMayFinishBeforeTheEnd) {
    HostProcess worker = start({"render", "a.gltf", "--frames", "1-9", "--finish-frames"}, "slow@2");
    wait_for_trace(worker, "rendering on");
    signal(worker, SIGINT);
    EXPECT_EQ(end(worker), "exited with code 130");
    EXPECT_THAT(output, AllOf(HasSubstr("Stopping when"), HasSubstr("2 done, 0 failed, 7 not rendered")));
}

TEST_F(WorkerProgramTest, AKilledWorkerLeavesNothing) {
    // A wrapper that stays, with a child in a session of its own.
    test::write_file(folder / "host.sh", "#!/bin/sh\nsetsid sleep 1000 &\necho host $! >> " +
                                             (folder / "trace") + "\n" FAKE_HOST_PROGRAM " \"$@\"\n");
    std::filesystem::permissions(folder / "host.sh", std::filesystem::perms::owner_all);
    std::vector<FileDescriptor> left;
    {
        test::RunningProgram worker(
            {WORKER_PROGRAM, "render", "a.gltf", "--frames", "1-9", "--host", folder / "host.sh", "--library",
             "hang-deaf@2", "--network", folder.path()},
            folder / "output");
        const Deadline deadline = deadline_in(30s);
        while (!Value(trace(), Contains("RenderTask,2")) && Clock::now() < deadline)
            std::this_thread::sleep_for(10ms);
        for (const std::string& line : trace()) {
            // The host that was asked about the scene is gone, with its child.
            FileDescriptor process(line.starts_with("host ") ? ::pidfd_open(std::stoi(line.substr(5)), 0)
                                                             : -1);
            if (process.get() != -1) left.push_back(std::move(process));
        }
        ASSERT_THAT(left, SizeIs(2)) << worker.output();
        worker.send_signal(SIGKILL);
        worker.wait();
    }
    for (const FileDescriptor& process : left)
        EXPECT_TRUE(wait_readable({process.get()}, deadline_in(10s)));
}

}  // namespace
}  // namespace corrivane::worker
