#include "worker/run/job_run.h"

#include "worker/base/failures.h"
#include "worker/hosts/running_host.h"
#include "worker/run/frame_queue.h"
#include "worker/run/written_files.h"
#include "worker/settings/job_settings.h"

#include <algorithm>
#include <atomic>
#include <memory>
#include <mutex>
#include <set>
#include <thread>

namespace corrivane::worker {
namespace {

using Status = FrameOutcome::Status;
using Severity = event::Message::Severity;
using Source = event::Message::Source;

std::chrono::milliseconds since(Deadline begin) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - begin);
}

/// An error text, and below it what the host itself said at that.
std::string with_log_entries(std::string error, const std::vector<std::string>& entries) {
    for (const std::string& entry : entries)
        error += '\n' + entry;
    return error;
}

/// What the lanes of a job share.
class SharedJob {
public:
    SharedJob(const Job& the_job, const RunSettings& run_settings, const StopRequest& stop_request,
              EventStream& event_stream)
        : job(the_job),
          settings(run_settings),
          stop(stop_request),
          events(event_stream),
          commands(make_job_commands(the_job)),
          queue(the_job.frames) {
        for (const int frame : job.frames)
            m_outcomes.emplace_back().frame = frame;
    }

    /// False once the job failed or is to stop.
    bool goes_on() const { return !m_failed && !stop.requested(); }

    void record(const FrameTask& task, FrameOutcome outcome) {
        const std::lock_guard lock(m_mutex);
        m_outcomes[task.index] = std::move(outcome);
    }

    void add_problem(const std::string& problem) {
        events.emit(event::Message{Severity::error, Source::worker, problem});
        const std::lock_guard lock(m_mutex);
        // Hosts side by side fail for one and the same reason.
        if (std::find(m_problems.begin(), m_problems.end(), problem) == m_problems.end())
            m_problems.push_back(problem);
    }

    /// The whole job ends.
    void fail(const std::string& reason) {
        m_failed = true;
        add_problem(reason);
    }

    /// One lane ends. That is no problem of the job while others render the frames.
    void lose_lane(const std::string& reason) {
        events.emit(event::Message{Severity::error, Source::worker, reason});
        const std::lock_guard lock(m_mutex);
        m_lost_lane = reason;
    }

    /// For what every host says alike.
    void log_once(std::size_t host, const std::string& line) {
        {
            const std::lock_guard lock(m_mutex);
            if (!m_lines_logged_once.insert(line).second) return;
        }
        events.emit(event::Message{Severity::warning, Source::host, line}, host);
    }

    /// When all lanes have ended.
    JobReport report() {
        const bool complete =
            std::none_of(m_outcomes.begin(), m_outcomes.end(),
                         [](const FrameOutcome& outcome) { return outcome.status == Status::not_rendered; });
        if (!complete && !m_lost_lane.empty()) m_problems.push_back(m_lost_lane);
        JobReport report;
        report.problems = std::move(m_problems);
        report.elapsed = since(m_begin);
        report.stopped = stop.requested() && !complete;
        for (const FrameOutcome& outcome : m_outcomes)
            if (outcome.status == Status::not_rendered) report.left.push_back(outcome.frame);
        report.frames = std::move(m_outcomes);
        return report;
    }

    const Job& job;
    const RunSettings& settings;
    const StopRequest& stop;
    EventStream& events;
    const JobCommands commands;
    FrameQueue queue;

private:
    const Clock::time_point m_begin = Clock::now();
    std::atomic<bool> m_failed = false;
    std::mutex m_mutex;
    std::vector<FrameOutcome> m_outcomes;
    std::vector<std::string> m_problems;
    std::string m_lost_lane;  // why the last one that gave up did so
    std::set<std::string> m_lines_logged_once;
};

/// Keeps one host at work: starts it, feeds it frames, and replaces it when it fails. One thread.
class Lane : public SessionObserver {
public:
    Lane(SharedJob& shared, std::size_t number) : m_shared(shared), m_number(number) {}

    /// Returns when there is nothing more to do for this lane, whatever the reason.
    void run() {
        try {
            while (m_shared.goes_on() && !m_shared.queue.empty())
                serve_one_host();
        } catch (const Stopped&) {
        } catch (const JobFailure& failure) {
            m_shared.fail(std::string("The job can't be started: ") + failure.what());
        } catch (const std::exception& error) {
            m_shared.lose_lane(error.what());
        }
    }

private:
    /// From the start of a host to its end.
    void serve_one_host() {
        const auto host = start_host();
        if (!host) return;
        m_failed_starts = 0;
        while (m_shared.goes_on()) {
            const auto task = m_shared.queue.take();
            if (!task) break;
            if (!render(*host, *task)) return;
        }
        finish(*host);
    }

    /// A host with the job started, or null when it failed and another one may be tried.
    std::unique_ptr<RunningHost> start_host() {
        std::unique_ptr<RunningHost> host;
        std::string reason;
        try {
            host = std::make_unique<RunningHost>(m_shared.settings.host, m_shared.job, *this, m_shared.stop,
                                                 m_shared.settings.limits,
                                                 [this](std::string_view line) { on_host_output(line); });
            emit(event::HostReady{host->greeting()});
            host->session().start_job(m_shared.commands);
            log_findings(*host);
            return host;
        } catch (const HostFailure& failure) {
            reason = host ? host->end_after(failure.what()) : failure.what();
        } catch (const JobFailure& failure) {
            const std::string refusal = with_log_entries(failure.what(), host->take_log_entries());
            host->end();
            throw JobFailure(refusal);
        }
        if (m_shared.stop.requested()) throw Stopped();
        if (m_failed_starts++ == m_shared.settings.retries)
            throw std::runtime_error((host ? "No host starts the job: " : "No host comes up: ") + reason);
        warn((host ? "a host did not start the job, trying again: "
                   : "a host did not come up, trying again: ") +
             reason);
        return nullptr;
    }

    /// What the host found wrong in a scene that it loaded all the same.
    void log_findings(RunningHost& host) {
        for (const std::string& entry : host.take_log_entries())
            if (!m_shared.settings.show_host_output) m_shared.log_once(m_number, entry);
    }

    /// Returns false when the host is gone.
    bool render(RunningHost& host, const FrameTask& task) {
        m_frame = task.frame;
        emit(event::FrameBegins{task.attempts + 1});
        host.take_log_entries();  // the next ones are this frame's
        const auto begin = Clock::now();
        CommandResult result;
        try {
            result = host.session().render(task.frame);
        } catch (const HostFailure& failure) {
            lose_host(host, task, failure.what(), begin);
            return false;
        }
        if (!result.success && m_shared.stop.requested()) {
            give_back("");  // it failed because it was told to
            if (result.session_over) host.end();
            return !result.session_over;
        }
        if (!result.success) result.error = with_log_entries(result.error, host.take_log_entries());
        const bool usable = conclude(host, task, result, begin);
        if (!usable || result.session_over) host.end();
        return usable && !result.session_over;
    }

    /// Records a frame that was answered. Returns false when the host failed at telling its files.
    bool conclude(RunningHost& host, const FrameTask& task, const CommandResult& result,
                  Clock::time_point begin) {
        FrameOutcome outcome{
            task.frame, result.success ? Status::done : Status::failed, result.error, {}, since(begin)};
        bool usable = true;
        if (result.success) {
            try {
                outcome.files = host.session().written_files(task.frame);
                if (m_shared.settings.check_files) outcome.error = check_files(host, outcome);
            } catch (const HostFailure& failure) {
                warn(failure.what());
                usable = false;
                if (m_shared.settings.check_files) outcome.error = check_written_files(outcome.files);
            }
            if (!outcome.error.empty()) outcome.status = Status::failed;
        }
        finish_frame(task, std::move(outcome));
        return usable;
    }

    std::string check_files(RunningHost& host, const FrameOutcome& outcome) {
        if (!outcome.files || !outcome.files->empty()) return check_written_files(outcome.files);
        const Job& job = m_shared.job;
        const auto output = job.output ? job.output : host.session().scene_output(outcome.frame);
        if (!output || output->empty()) return "";
        return check_skipped_file(frame_file_name(*output, outcome.frame, job.options));
    }

    /// The host died, hangs or talks nonsense while it has a frame.
    void lose_host(RunningHost& host, const FrameTask& task, const std::string& failure,
                   Clock::time_point begin) {
        const std::string reason = host.end_after(failure);
        if (m_shared.stop.requested()) {
            give_back("");
        } else if (task.attempts < m_shared.settings.retries) {
            give_back(reason);
            m_shared.queue.give_back({task.index, task.frame, task.attempts + 1});
        } else {
            finish_frame(task, {task.frame, Status::failed, reason, {}, since(begin)});
        }
    }

    void finish_frame(const FrameTask& task, FrameOutcome outcome) {
        emit(event::FrameEnds{outcome});
        m_frame.reset();
        m_shared.record(task, std::move(outcome));
    }

    /// Nothing came of the frame. With a reason it is tried again.
    void give_back(const std::string& reason) {
        emit(event::FrameGivenBack{reason});
        m_frame.reset();
    }

    /// The host's part of the job is over.
    void finish(RunningHost& host) {
        try {
            const bool session_goes_on =
                !m_shared.commands.post_script || !m_shared.goes_on() || run_post_script(host);
            if (session_goes_on) end_job(host);
        } catch (const HostFailure& failure) {
            warn("the host failed at the end of the job: " + host.end_after(failure.what()));
        }
        host.end();
    }

    /// Returns false when the session ended with the script's error.
    bool run_post_script(RunningHost& host) {
        const CommandResult result = host.session().run_script(*m_shared.commands.post_script);
        if (!result.success) m_shared.add_problem("The post script failed: " + result.error);
        return !result.session_over;
    }

    void end_job(RunningHost& host) {
        const CommandResult result = host.session().end_job();
        if (!result.success && !m_shared.stop.requested())
            warn("warning from the end of the job: " + result.error);
    }

    void on_title(std::string_view title) override { emit(event::TitleSet{std::string(title)}); }
    void on_progress(double percent) override {
        if (percent >= 0) emit(event::Progressed{percent});
    }
    void on_log(std::string_view text) override {
        emit(event::Message{Severity::info, Source::script, std::string(text)});
    }

    void on_host_output(std::string_view line) {
        if (m_shared.settings.show_host_output)
            emit(event::Message{Severity::info, Source::host, std::string(line)});
    }

    void warn(const std::string& text) { emit(event::Message{Severity::warning, Source::worker, text}); }

    /// Says what happens to this lane's host, and to its frame if it has one.
    void emit(event::Anything what) { m_shared.events.emit(std::move(what), m_number, m_frame); }

    SharedJob& m_shared;
    const std::size_t m_number;
    int m_failed_starts = 0;
    std::optional<int> m_frame;
};

}  // namespace

std::size_t lane_count(const Job& job, const RunSettings& settings) {
    return std::clamp<std::size_t>(settings.hosts, 1, std::max<std::size_t>(job.frames.size(), 1));
}

JobReport run_job(const Job& job, const RunSettings& settings, const StopRequest& stop, EventStream& events) {
    check_job(job);
    SharedJob shared(job, settings, stop, events);
    events.emit(event::JobBegins{job.scene, job.frames, lane_count(job, settings)});
    std::vector<std::thread> threads;
    for (std::size_t lane = 0; lane < lane_count(job, settings); ++lane)
        threads.emplace_back([&shared, lane] { Lane(shared, lane).run(); });
    for (std::thread& thread : threads)
        thread.join();
    JobReport report = shared.report();
    events.emit(event::JobEnds{report});
    return report;
}

}  // namespace corrivane::worker
