#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <vector>

namespace corrivane::worker {

/// What the system says of a process at a moment.
struct ProcessFacts {
    pid_t pid = 0;
    pid_t parent = 0;
    char state = '?';  // R running, S sleeping, D waiting for a disk, T stopped, Z ended and not waited for
    std::chrono::milliseconds cpu_time{0};
    std::uint64_t memory_bytes = 0;  // resident
};

/// Finds the next process whose parent is `parent` and which has not ended, or 0. Calls nothing but the system, so
/// that it may be used between fork and exec.
pid_t find_child(pid_t parent);

/// What a process' descendants are and use together, without itself.
struct ProcessTree {
    std::vector<pid_t> pids;
    std::chrono::milliseconds cpu_time{0};  // of those that still run
    std::uint64_t memory_bytes = 0;
    char state = '?';  // T, D or R where one of them is in that state, in this order; otherwise S
};
ProcessTree descendants_of(pid_t root);

}  // namespace corrivane::worker
