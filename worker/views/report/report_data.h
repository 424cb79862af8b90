#pragma once

#include "worker/events/job_events.h"

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace corrivane::worker {

/// The machine that a job ran on, as far as its system tells: a name for each fact.
using MachineFacts = std::vector<std::pair<std::string, std::string>>;

/// What the page about a job is made of. Texts come as hosts sent them.
struct ReportData {
    /// An attempt that came to nothing and was made again.
    struct Retry {
        std::chrono::system_clock::time_point time;
        std::optional<std::size_t> host;
        std::optional<int> frame;
        int attempt = 1;
        std::string reason;
    };

    /// A warning or an error on the way.
    struct Note {
        std::chrono::system_clock::time_point time;
        std::optional<std::size_t> host;
        std::optional<int> frame;
        bool is_error = false;
        std::string text;
    };

    struct CrashReport {
        std::string file;  // empty where it could not be kept
        std::string text;
    };

    event::JobBegins job;
    std::chrono::system_clock::time_point began;
    std::chrono::system_clock::time_point ended;
    JobReport report;
    std::vector<std::string> greetings;  // of the plug-ins, each once
    std::vector<Retry> retries;
    std::vector<Note> notes;
    std::map<int, std::vector<CrashReport>> crash_reports;  // by frame
    std::map<int, std::vector<unsigned char>> pictures;     // small JPEG files by frame
    MachineFacts machine;
};

}  // namespace corrivane::worker
