#pragma once

#include "worker/base/stop_request.h"
#include "worker/base/wait.h"
#include "worker/events/event_stream.h"
#include "worker/job/job.h"
#include "worker/job/job_commands.h"
#include "worker/job/run_settings.h"
#include "worker/run/file_check.h"
#include "worker/run/frame_queue.h"
#include "worker/run/output_plan.h"

#include <atomic>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace corrivane::worker {

/// What the lanes of a job share. May be used by several threads.
class SharedJob {
public:
    /// The references stay in use.
    SharedJob(const Job& job, const RunSettings& settings, const StopRequest& stop, EventStream& events);

    const Job& job;
    const RunSettings& settings;
    const StopRequest& stop;
    EventStream& events;
    const JobCommands commands;
    FrameQueue queue;

    /// False once the job failed or is to stop.
    bool goes_on() const { return !m_failed && !stop.requested(); }

    /// What the frames are saved as. The first host that comes so far is asked; where that throws, the next one.
    const OutputPlan& plan(const std::function<OutputPlan()>& ask);

    /// A frame is over for good. `verified` tells what its files were when they were looked at.
    void record(const FrameTask& task, FrameOutcome outcome, Snapshot verified = {});

    void note_start() { m_started = true; }
    void add_problem(const std::string& problem);

    /// Whether a frame's error is one that all frames will have, as far as none is done, and the job is to end then.
    bool is_hopeless(const std::string& error) const;

    /// Ends the job where a frame that is over tells that the others cannot work.
    void judge(const FrameOutcome& outcome);

    /// The whole job ends.
    void fail(const std::string& reason);

    /// One lane ends. That is no problem of the job while others render the frames.
    void lose_lane(const std::string& reason);

    /// For what every host says alike.
    void log_once(std::size_t host, const std::string& line);

    /// When all lanes have ended: looks at the files of all frames again and tells what became of the job.
    JobReport report();

private:
    void look_again(FrameOutcome& outcome, const Snapshot& verified);

    const Clock::time_point m_begin = Clock::now();
    std::atomic<bool> m_failed = false;
    std::atomic<bool> m_started = false;
    std::atomic<bool> m_has_done = false;  // a frame
    std::mutex m_plan_mutex;
    std::optional<OutputPlan> m_plan;
    std::mutex m_mutex;
    std::vector<FrameOutcome> m_outcomes;
    std::vector<Snapshot> m_verified;  // the files of each frame when they were
    std::vector<std::string> m_problems;
    std::string m_lost_lane;  // why the last one that gave up did so
    std::set<std::string> m_lines_logged_once;
};

std::chrono::milliseconds since(Deadline begin);

}  // namespace corrivane::worker
