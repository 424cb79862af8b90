#pragma once

#include "worker/base/wait.h"

#include <algorithm>
#include <functional>

namespace corrivane::worker {

/// Measures how long nothing has come from a host that is at work.
class QuietWatch {
public:
    struct Actions {
        std::function<void()> on_silence;  // it may have begun
        std::function<void(std::chrono::milliseconds quiet_for)>
            on_quiet;  // after the limit, twice that, and so on
    };

    /// For `limit` milliseconds::max() it stays silent itself.
    QuietWatch(std::chrono::milliseconds limit, Actions actions)
        : m_limit(limit), m_actions(std::move(actions)) {
        heard();
    }

    /// Something came, or the host has got something to do.
    void heard() {
        if (m_limit == std::chrono::milliseconds::max()) return;
        m_since = Clock::now();
        m_stage = std::chrono::milliseconds(0);
        m_next = m_since + std::min(m_limit / 2, first_look);
    }

    /// When to call look() if nothing comes before.
    Deadline next() const { return m_next; }

    void look() {
        if (Clock::now() < m_next) return;
        if (m_stage.count() == 0) {
            m_actions.on_silence();
            m_stage = m_limit;
        } else {
            m_actions.on_quiet(std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - m_since));
            m_stage *= 2;
        }
        m_next = m_since + m_stage;
    }

private:
    static constexpr std::chrono::milliseconds first_look{1000};

    const std::chrono::milliseconds m_limit;
    const Actions m_actions;
    Deadline m_since = Clock::now();
    Deadline m_next = Deadline::max();
    std::chrono::milliseconds m_stage{0};
};

}  // namespace corrivane::worker
