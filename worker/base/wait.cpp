#include "worker/base/wait.h"

#include <algorithm>
#include <cerrno>
#include <limits>
#include <system_error>
#include <utility>

namespace corrivane::worker {

Deadline deadline_in(std::chrono::milliseconds duration) {
    const Deadline now = Clock::now();
    const auto farthest = std::chrono::duration_cast<std::chrono::milliseconds>(Deadline::max() - now);
    return duration < farthest ? now + duration : Deadline::max();
}

int remaining_ms(Deadline deadline) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
    return static_cast<int>(std::clamp<decltype(left)>(left, 0, std::numeric_limits<int>::max()));
}

std::optional<int> wait_ready(std::vector<pollfd> entries, Deadline deadline) {
    for (;;) {
        const int ready = ::poll(entries.data(), entries.size(), remaining_ms(deadline));
        if (ready < 0 && errno != EINTR) throw std::system_error(errno, std::generic_category(), "poll");
        if (ready > 0) break;
        if (ready == 0 && Clock::now() >= deadline) return std::nullopt;
    }
    return std::find_if(entries.begin(), entries.end(),
                        [](const pollfd& entry) { return entry.revents != 0; })
        ->fd;
}

std::optional<int> wait_readable(std::initializer_list<int> descriptors, Deadline deadline) {
    std::vector<pollfd> entries;
    for (const int descriptor : descriptors)
        entries.push_back({descriptor, POLLIN, 0});
    return wait_ready(std::move(entries), deadline);
}

}  // namespace corrivane::worker
