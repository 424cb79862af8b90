#include "worker/hosts/host_process.h"

#include "support/test.h"
#include "worker/base/wait.h"

#include <csignal>

namespace corrivane::worker {
namespace {

using namespace testing;
using namespace std::chrono_literals;

class HostProcessTest : public testing::Test {
protected:
    HostProcess shell(const std::string& script) {
        return HostProcess("/bin/sh", {"-c", script}, "a line\n",
                           [this](std::string_view line) { lines.emplace_back(line); });
    }

    StopRequest stop;
    std::vector<std::string> lines;
};

TEST_F(HostProcessTest, ItsOutputComesAsLines) {
    HostProcess host = shell("printf 'one\\ntwo'; echo ' ends' >&2; printf 'no line end'");
    host.end(10s, stop);
    EXPECT_THAT(lines, ElementsAre("one", "two ends", "no line end"));
    EXPECT_EQ(host.last_output(), "one\ntwo ends\nno line end\n");
}

TEST_F(HostProcessTest, MuchOutputNeitherBlocksItNorFillsMemory) {
    HostProcess host = shell("head -c 3000000 /dev/zero | tr '\\0' x; echo; seq 1 100");
    EXPECT_EQ(host.end(20s, stop), "exited with code 0");
    ASSERT_EQ(lines.size(), 101);
    EXPECT_EQ(lines[0], std::string(4096, 'x'));
    EXPECT_THAT(host.last_output(), StartsWith("89\n"));
}

TEST_F(HostProcessTest, AHostThatDoesNotEndIsEndedByForce) {
    EXPECT_EQ(shell("exec sleep 1000").end(0ms, stop), "was ended by the worker");
    stop.raise(StopRequest::Level::immediate);
    HostProcess stubborn = shell("trap '' TERM; echo ready; while :; do sleep 1000; done");
    while (lines.empty()) {
        ASSERT_TRUE(wait_readable({stubborn.output_fd()}, deadline_in(10s)));
        stubborn.read_output();
    }
    EXPECT_EQ(stubborn.end(1000s, stop), "was killed by the worker");
}

TEST_F(HostProcessTest, WhatItStartedEndsWithIt) {
    // In its group, in a session of its own, and without a parent.
    HostProcess host =
        shell("sleep 1000 & echo $!; setsid sleep 1000 & echo $!; (setsid sleep 1000 & echo $!)");
    EXPECT_EQ(host.end(10s, stop), "exited with code 0");
    ASSERT_EQ(lines.size(), 3);
    for (const std::string& orphan : lines)
        EXPECT_EQ(::kill(std::stoi(orphan), 0), -1) << orphan;
}

TEST_F(HostProcessTest, StartsWithoutTheWorkersSignalsAndDescriptors) {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
    HostProcess host = shell("grep SigBlk /proc/self/status; cat");
    pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
    host.end(10s, stop);
    EXPECT_THAT(lines, ElementsAre("SigBlk:\t0000000000000000", "a line"));
}

}  // namespace
}  // namespace corrivane::worker
