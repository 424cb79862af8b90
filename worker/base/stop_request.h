#pragma once

#include "worker/base/file_descriptor.h"

#include <atomic>

namespace corrivane::worker {

/// The user's wish to stop, made by one thread and seen by all: read it with level(), or wait for a
/// descriptor that becomes readable, and stays so, when the level is reached.
class StopRequest {
public:
    enum class Level {
        none,
        orderly,   // end the running frames, then the jobs, then the hosts
        immediate  // kill the hosts
    };

    /// Throws std::system_error.
    StopRequest();

    /// Goes to the next level.
    void raise();

    Level level() const { return m_level; }
    bool requested() const { return m_level != Level::none; }
    int orderly_fd() const { return m_orderly.get(); }
    int immediate_fd() const { return m_immediate.get(); }

private:
    std::atomic<Level> m_level = Level::none;
    FileDescriptor m_orderly;
    FileDescriptor m_immediate;
};

}  // namespace corrivane::worker
