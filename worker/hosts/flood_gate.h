#pragma once

#include "worker/base/wait.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace corrivane::worker {

/// Lets through what a host says unless it is a flood: a megabyte at once, and on average 64 KiB a second.
class FloodGate {
public:
    bool lets_through(std::size_t bytes) {
        const auto now = Clock::now();
        const double seconds = std::chrono::duration<double>(now - m_last).count();
        m_last = now;
        m_credit = std::min(m_credit + seconds * bytes_a_second, most_at_once);
        // What is shown in front of a line, and the work of showing it, count too.
        const double cost = static_cast<double>(bytes) + 64;
        const bool fits = m_credit >= (m_kept_back > 0 ? std::max(cost, most_at_once / 4) : cost);
        if (fits) m_credit -= cost;
        m_kept_back_now = fits ? m_kept_back : 0;
        m_kept_back = fits ? 0 : m_kept_back + 1;
        return fits;
    }

    /// Whether the last text was the first of those that are kept back.
    bool begins_to_keep_back() const { return m_kept_back == 1; }

    /// How many texts were kept back before the last one, which was let through.
    std::uint64_t kept_back() const { return m_kept_back_now; }

private:
    static constexpr double bytes_a_second = 65536;
    static constexpr double most_at_once = 1 << 20;

    Deadline m_last = Clock::now();
    double m_credit = most_at_once;
    std::uint64_t m_kept_back = 0;
    std::uint64_t m_kept_back_now = 0;
};

}  // namespace corrivane::worker
