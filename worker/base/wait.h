#pragma once

#include <poll.h>

#include <chrono>
#include <initializer_list>
#include <optional>
#include <vector>

namespace corrivane::worker {

using Clock = std::chrono::steady_clock;
using Deadline = Clock::time_point;

/// A deadline `duration` from now; one too far away to be counted becomes the farthest that there is.
Deadline deadline_in(std::chrono::milliseconds duration);

/// Milliseconds until the deadline, rounded up so that a wait never wakes just before it; 0 once it has
/// passed, and at most what an int holds.
int remaining_ms(Deadline deadline);

/// Waits until one of the descriptors can be read (or has hung up) and returns the first of them in the order
/// given; nothing when the deadline passed. A descriptor of -1 is left out. Throws std::system_error.
std::optional<int> wait_readable(std::initializer_list<int> descriptors, Deadline deadline);

/// The same for entries that say what to wait for.
std::optional<int> wait_ready(std::vector<pollfd> entries, Deadline deadline);

}  // namespace corrivane::worker
