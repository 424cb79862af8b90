#pragma once

#include "worker/base/file_descriptor.h"
#include "worker/base/stop_request.h"

#include <functional>
#include <thread>

namespace corrivane::worker {

/// Turns signals into the stop request's levels while it lives: SIGINT, SIGTERM and SIGHUP stop the running frames, and
/// a second one kills the hosts; SIGUSR1 lets the running frames finish, and so does the first of the others where
/// `finish_frames` says so. Afterwards the signals have their default effect again. Make it before any other thread: threads inherit the mask that keeps the
/// signals for it.
class SignalWatch {
public:
    /// `on_stop` is called on a thread of the watch, after each raise. Throws std::system_error.
    SignalWatch(StopRequest& stop, bool finish_frames, std::function<void(StopRequest::Level)> on_stop);
    ~SignalWatch();
    SignalWatch(const SignalWatch&) = delete;
    SignalWatch& operator=(const SignalWatch&) = delete;

private:
    void watch();

    StopRequest::Level next_level(int signal) const;

    StopRequest& m_stop;
    const bool m_finish_frames;
    std::function<void(StopRequest::Level)> m_on_stop;
    FileDescriptor m_signals;
    FileDescriptor m_end;
    std::thread m_thread;
};

}  // namespace corrivane::worker
