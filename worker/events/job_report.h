#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace corrivane::worker {

/// A file that a frame was to write.
struct ImageFile {
    enum class Kind { output, element, alpha, preview };
    enum class State {
        verified,
        failed,    // `problem` says why
        unchecked  // nobody asked for a look at it
    };

    std::string name;  // as the host names it
    std::string path;  // on this machine; empty where no drive or share of it is meant
    Kind kind = Kind::output;
    State state = State::unchecked;
    std::string problem;
    std::uint64_t bytes = 0;
};

struct FrameOutcome {
    enum class Status {
        done,         // answered with SUCCESS, and its files are there where that was to be checked
        failed,       // `error` says why, in full
        not_rendered  // the job failed or was stopped before
    };

    int frame = 0;
    Status status = Status::not_rendered;
    std::string error;
    /// As the host names them; none when the scene skips the frame or saves nothing. Unset: not known.
    std::optional<std::vector<std::string>> files;
    std::chrono::milliseconds time{0};  // from the command to the last answer, in the last attempt

    int attempts = 1;                               // that were made
    std::optional<std::size_t> host{};              // that made the last one
    std::chrono::system_clock::time_point began{};  // the last one
    std::vector<ImageFile> images{};
    bool skipped = false;  // its file was there, and the scene skips such frames
};

/// What became of a job.
struct JobReport {
    std::vector<FrameOutcome> frames;   // in the job's order
    std::vector<std::string> problems;  // of the job as a whole: why it failed, scripts that did
    std::chrono::milliseconds elapsed{0};
    bool stopped = false;     // by the user
    std::vector<int> left{};  // frames that are to be rendered again: not rendered, lost or interrupted

    bool could_not_start = false;  // no host came so far as to render

    /// Every frame done and no problem.
    bool success() const;
};

}  // namespace corrivane::worker
