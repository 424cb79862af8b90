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
        finishing,  // begin no more frames, end the running ones, then the jobs, then the hosts
        orderly,    // stop the running frames, then end the jobs, then the hosts
        immediate   // kill the hosts
    };

    /// Throws std::system_error.
    StopRequest();

    /// Goes to this level, from a lower one. `signal` is the number of the one that the user sent.
    void raise(Level level, int signal = 0);

    Level level() const { return m_level; }
    /// Nothing new is to be begun.
    bool requested() const { return m_level != Level::none; }
    /// What runs is to be stopped.
    bool aborting() const { return m_level >= Level::orderly; }
    /// The first signal that was sent; 0 for none.
    int signal() const { return m_signal; }

    int requested_fd() const { return m_requested.get(); }
    int orderly_fd() const { return m_orderly.get(); }
    int immediate_fd() const { return m_immediate.get(); }

private:
    std::atomic<Level> m_level = Level::none;
    std::atomic<int> m_signal = 0;
    FileDescriptor m_requested;
    FileDescriptor m_orderly;
    FileDescriptor m_immediate;
};

}  // namespace corrivane::worker
