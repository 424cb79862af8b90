#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace corrivane::worker {

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
};

/// What became of a job.
struct JobReport {
    std::vector<FrameOutcome> frames;   // in the job's order
    std::vector<std::string> problems;  // of the job as a whole: why it failed, scripts that did
    std::chrono::milliseconds elapsed{0};
    bool stopped = false;  // by the user

    /// Every frame done and no problem.
    bool success() const;
};

}  // namespace corrivane::worker
