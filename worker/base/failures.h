#pragma once

#include <stdexcept>

namespace corrivane::worker {

/// The host can't be used any more: it died, hangs, or sent what no plug-in sends. Another host may
/// do better.
class HostFailure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The plug-in refused the job: no host will do better.
class JobFailure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The user wants to stop, and there is nothing left to end in order.
class Stopped : public std::runtime_error {
public:
    Stopped() : std::runtime_error("stopped by the user") {}
};

}  // namespace corrivane::worker
