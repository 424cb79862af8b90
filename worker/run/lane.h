#pragma once

#include "worker/hosts/flood_gate.h"
#include "worker/hosts/running_host.h"
#include "worker/run/shared_job.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace corrivane::worker {

/// Keeps one host at work: starts it, feeds it frames, looks at what they wrote, and replaces it when it fails. One
/// thread, which while a frame is rendered does nothing but answer the host.
class Lane : public SessionObserver {
public:
    /// `number` counts the hosts side by side, from 0 to `lanes`.
    Lane(SharedJob& shared, std::size_t number, std::size_t lanes);

    /// Returns when there is nothing more to do for this lane, whatever the reason.
    void run();

private:
    enum class Fault { of_the_frame, of_the_host, of_the_worker };

    void work();
    void start_host();
    void lose_start(const std::string& reason, bool has_come_up);
    void log_findings();
    OutputPlan ask_for_plan(int frame);

    void render(FrameTask& task);
    bool is_whole(const FrameTask& task);
    void render_anew_if_skipped(const FrameTask& task, FrameOutcome& outcome, Expectation& expectation);
    FrameOutcome attempt(const FrameTask& task, const Expectation& expectation);
    void look_at_files(FrameOutcome& outcome, const Expectation& expectation);
    void conclude(FrameTask& task, FrameOutcome outcome);
    void fail(FrameTask& task, FrameOutcome outcome, Fault fault);
    bool may_try_again(const FrameTask& task, Fault fault) const;
    void finish_frame(const FrameTask& task, FrameOutcome outcome);
    void give_back(const FrameTask& task, const std::string& reason);
    FrameOutcome begin_outcome(const FrameTask& task) const;

    std::string lose_host(const std::string& failure);
    void replace_if_too_large();
    void finish_host();
    bool run_post_script();
    void end_job();
    void note_end(const std::string& how, bool failed);
    void back_off();

    void on_title(std::string_view title) override;
    void on_progress(double percent) override;
    void on_log(std::string_view text) override;
    void on_start(int process_id) override;
    void on_quiet(const Quietness& what) override;
    void on_host_output(std::string_view line);
    void pass_on(event::Message::Source source, std::string_view text);

    void warn(const std::string& text);
    void emit(event::Anything what);

    SharedJob& m_shared;
    const std::size_t m_number;
    const std::size_t m_lanes;
    HostSettings m_host_settings;
    std::unique_ptr<RunningHost> m_host;
    std::vector<pid_t> m_processes;  // of the host
    const OutputPlan* m_plan = nullptr;
    std::vector<ImageFile> m_planned;  // of the frame at hand
    Snapshot m_verified;               // its files when they were looked at
    bool m_session_over = false;
    bool m_answers_missed = false;
    FloodGate m_flood_gate;
    std::string m_title;
    int m_failed_starts = 0;
    int m_setbacks = 0;  // hosts lost since a frame was done
    std::optional<int> m_frame;
};

/// How many threads a host renders with that shares the machine with others.
int threads_of(std::size_t host, std::size_t hosts, int wanted);

}  // namespace corrivane::worker
