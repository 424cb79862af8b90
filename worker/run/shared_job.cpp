#include "worker/run/shared_job.h"

#include "worker/job/common_faults.h"
#include "worker/settings/job_settings.h"

#include <algorithm>

namespace corrivane::worker {
namespace {

using Status = FrameOutcome::Status;
using State = ImageFile::State;
using Severity = event::Message::Severity;
using Source = event::Message::Source;

}  // namespace

std::chrono::milliseconds since(Deadline begin) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - begin);
}

SharedJob::SharedJob(const Job& the_job, const RunSettings& run_settings, const StopRequest& stop_request,
                     EventStream& event_stream)
    : job(the_job),
      settings(run_settings),
      stop(stop_request),
      events(event_stream),
      commands(make_job_commands(the_job)),
      queue(the_job.frames),
      m_verified(the_job.frames.size()) {
    for (const int frame : job.frames)
        m_outcomes.emplace_back().frame = frame;
}

const OutputPlan& SharedJob::plan(const std::function<OutputPlan()>& ask) {
    const std::lock_guard lock(m_plan_mutex);
    if (!m_plan) m_plan = ask();
    return *m_plan;
}

void SharedJob::record(const FrameTask& task, FrameOutcome outcome, Snapshot verified) {
    {
        const std::lock_guard lock(m_mutex);
        m_verified[task.index] = std::move(verified);
        m_outcomes[task.index] = std::move(outcome);
    }
    queue.finish();
}

bool SharedJob::is_hopeless(const std::string& error) const {
    return !settings.keep_going && !m_has_done && is_fault_of_every_frame(error);
}

void SharedJob::judge(const FrameOutcome& outcome) {
    const bool is_done = outcome.status == Status::done;
    std::string reason;
    if (!is_done && is_hopeless(outcome.error))
        reason = "All frames would fail as frame " + std::to_string(outcome.frame) + " did";
    const bool is_first = is_done && !m_has_done.exchange(true);
    if (is_first && !settings.keep_going && settings.space_lacking_after)
        reason = settings.space_lacking_after(outcome.frame);
    if (!reason.empty()) fail(reason + "; --keep-going tries them");
}

void SharedJob::add_problem(const std::string& problem) {
    events.emit(event::Message{Severity::error, Source::worker, problem});
    const std::lock_guard lock(m_mutex);
    // Hosts side by side fail for one and the same reason.
    if (std::ranges::find(m_problems, problem) == m_problems.end()) m_problems.push_back(problem);
}

void SharedJob::fail(const std::string& reason) {
    m_failed = true;
    queue.close();
    add_problem(reason);
}

void SharedJob::lose_lane(const std::string& reason) {
    events.emit(event::Message{Severity::error, Source::worker, reason});
    const std::lock_guard lock(m_mutex);
    m_lost_lane = reason;
}

void SharedJob::log_once(std::size_t host, const std::string& line) {
    {
        const std::lock_guard lock(m_mutex);
        if (!m_lines_logged_once.insert(line).second) return;
    }
    events.emit(event::Message{Severity::warning, Source::host, line}, host);
}

/// Files that are what they were when they were verified need no second look at their pixels.
void SharedJob::look_again(FrameOutcome& outcome, const Snapshot& verified) {
    for (ImageFile& file : outcome.images) {
        const auto then = verified.find(file.path);
        if (file.state != State::verified || then == verified.end() || !then->second) continue;
        const auto now = identity_of(file.path);
        if (now == then->second) continue;
        if (now && now->modified_ns < then->second->modified_ns) {
            file.state = State::failed;
            file.problem = "an older file was put in its place";
            continue;
        }
        std::vector<ImageFile> one{file};
        check_files(one, {settings.verify, m_plan->width, m_plan->height, {}});
        file = one.front();
        if (file.state == State::failed) file.problem += "; it was whole when the frame was done";
    }
    outcome.error = problems_of(outcome.images);
    if (outcome.error.empty()) return;
    outcome.status = Status::failed;
    events.emit(event::Message{Severity::error, Source::worker, outcome.error}, {}, outcome.frame);
}

JobReport SharedJob::report() {
    JobReport report;
    for (std::size_t index = 0; index < m_outcomes.size(); ++index) {
        FrameOutcome& outcome = m_outcomes[index];
        const bool was_done = outcome.status == Status::done;
        if (was_done) look_again(outcome, m_verified[index]);
        const bool was_lost = was_done && outcome.status == Status::failed;
        if (was_lost || outcome.status == Status::not_rendered) report.left.push_back(outcome.frame);
    }
    const bool complete = std::ranges::none_of(
        m_outcomes, [](const FrameOutcome& outcome) { return outcome.status == Status::not_rendered; });
    if (!complete && !m_lost_lane.empty()) m_problems.push_back(m_lost_lane);
    report.frames = std::move(m_outcomes);
    report.problems = std::move(m_problems);
    report.elapsed = since(m_begin);
    report.stopped = stop.requested() && !complete;
    report.could_not_start = !m_started && !complete && !report.stopped;
    return report;
}

}  // namespace corrivane::worker
