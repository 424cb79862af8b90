#pragma once

#include "worker/events/job_report.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

/// What happens while a job runs. The run says it once, and whoever shows or keeps it (lines, a bar, files) is fed
/// from this. Texts come as hosts sent them: who prints one makes it printable.
namespace corrivane::worker::event {

struct JobBegins {
    std::string scene;
    std::vector<int> frames;
    std::size_t hosts = 1;  // that work side by side
    std::string name{};
    std::string camera{};  // empty: the scene's active view
    std::string output{};  // empty: the scene's own
    int threads = 0;       // of each host
    std::string worker_version{};
};

/// The program runs, and has not connected yet.
struct HostStarts {
    int process_id = 0;
    std::string log_folder;  // of this host alone
};

struct HostReady {
    std::string greeting;  // the plug-in's version and build
};

/// `how` says how its program ended, and why it was ended where it failed.
struct HostEnds {
    std::string how;
    bool failed = false;
};

/// Nothing has come from the host for a while that it should have. What it was seen to do meanwhile.
struct HostQuiet {
    std::chrono::milliseconds quiet_for{0};
    std::chrono::milliseconds cpu_time{0};  // used since it fell silent
    std::uint64_t memory_bytes = 0;         // resident
    std::string title;                      // the last one
    std::string last_lines;                 // of its output
    std::string state;                      // "stopped", "waiting for a disk", "working" or "waiting"
};

struct FrameBegins {
    int attempt = 1;
};

struct TitleSet {
    std::string title;  // what the host does at the moment
};

struct Progressed {
    double percent = 0;  // of the frame
};

/// The plug-in's crash report in full, of the event's frame.
struct CrashReported {
    std::string text;
};

/// The frame is over for good.
struct FrameEnds {
    FrameOutcome outcome;
};

/// The frame's attempt came to nothing: it is tried again for the reason, or left as it is where there is none.
struct FrameGivenBack {
    std::string reason;
    int attempt = 1;  // that came to nothing
};

/// Lines for people.
struct Message {
    enum class Severity { info, warning, error };
    enum class Source { worker, host, script };

    Severity severity = Severity::info;
    Source source = Source::worker;
    std::string text;  // one or more lines
};

struct JobEnds {
    JobReport report;
};

using Anything = std::variant<JobBegins, HostStarts, HostReady, HostQuiet, HostEnds, FrameBegins, TitleSet,
                              Progressed, CrashReported, FrameEnds, FrameGivenBack, Message, JobEnds>;

}  // namespace corrivane::worker::event

namespace corrivane::worker {

struct Event {
    std::chrono::system_clock::time_point time;
    std::optional<std::size_t> host;  // which of those side by side, from 0; none: the job as a whole
    std::optional<int> frame;
    event::Anything what;
};

/// Takes the events of one job, in their order, one at a time.
class EventSink {
public:
    virtual ~EventSink() = default;
    virtual void take(const Event& event) = 0;
};

}  // namespace corrivane::worker
