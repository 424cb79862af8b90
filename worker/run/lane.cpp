#include "worker/run/lane.h"

#include "worker/base/failures.h"
#include "worker/run/host_files.h"

#include <algorithm>
#include <thread>
#include <utility>

namespace corrivane::worker {
namespace {

using Status = FrameOutcome::Status;
using Severity = event::Message::Severity;
using Source = event::Message::Source;
using std::chrono::milliseconds;

constexpr milliseconds first_pause{250};
constexpr milliseconds longest_pause{30000};
/// Attempts that this process spoilt itself don't count, up to here.
constexpr int most_attempts = 100;

/// An error text, and below it what the host itself said at that.
std::string with_log_entries(std::string error, const std::vector<std::string>& entries) {
    for (const std::string& entry : entries)
        error += '\n' + entry;
    return error;
}

/// The crash report that an error text ends with, if it does.
std::optional<std::string> crash_report_of(const std::string& error) {
    const auto begin = error.starts_with("Process:  ") ? 0 : error.find("\nProcess:  ");
    if (begin == std::string::npos) return std::nullopt;
    return error.substr(begin == 0 ? 0 : begin + 1);
}

}  // namespace

int threads_of(std::size_t host, std::size_t hosts, int wanted) {
    if (wanted > 0 || hosts == 1) return wanted;
    const std::size_t cores = std::max(1U, std::thread::hardware_concurrency());
    const std::size_t share = cores / hosts + (host < cores % hosts ? 1 : 0);
    return static_cast<int>(std::max<std::size_t>(share, 1));
}

Lane::Lane(SharedJob& shared, std::size_t number, std::size_t lanes)
    : m_shared(shared), m_number(number), m_lanes(lanes), m_host_settings(shared.settings.host) {
    m_host_settings.threads = threads_of(number, lanes, m_host_settings.threads);
}

void Lane::run() {
    try {
        work();
    } catch (const Stopped&) {
    } catch (const JobFailure& failure) {
        m_shared.fail(std::string("The job can't be started: ") + failure.what());
    } catch (const std::exception& error) {
        m_shared.lose_lane(error.what());
    }
}

void Lane::work() {
    while (auto task = m_shared.queue.take()) {
        try {
            while (!m_host && m_shared.goes_on())
                start_host();
            if (!m_host) throw Stopped();
            m_plan = &m_shared.plan([&] { return ask_for_plan(task->frame); });
        } catch (const HostFailure& failure) {
            m_shared.queue.give_back(*task);
            lose_start(lose_host(failure.what()), true);
            continue;
        } catch (...) {
            m_shared.queue.give_back(*task);
            throw;
        }
        m_shared.note_start();
        m_failed_starts = 0;
        render(*task);
        if (m_host) replace_if_too_large();
    }
    if (m_host) finish_host();
}

/// Leaves m_host null when the host failed and another one may be tried.
void Lane::start_host() {
    back_off();
    if (m_lanes > 1) m_host_settings.log_folder = log_folder_of(m_number);
    std::string reason;
    bool has_come_up = false;
    try {
        m_host = std::make_unique<RunningHost>(m_host_settings, m_shared.job, *this, m_shared.stop,
                                               m_shared.settings.limits,
                                               [this](std::string_view line) { on_host_output(line); });
        has_come_up = true;
        emit(event::HostReady{m_host->greeting()});
        m_processes = m_host->process().processes().pids;
        m_host->session().start_job(m_shared.commands);
        log_findings();
        return;
    } catch (const HostFailure& failure) {
        reason = m_host ? lose_host(failure.what()) : failure.what();
        if (!has_come_up) emit(event::HostEnds{reason, true});
    } catch (const JobFailure& failure) {
        const std::string refusal = with_log_entries(failure.what(), m_host->take_log_entries());
        m_host->end();
        note_end(m_host->how_it_ended(), true);
        throw JobFailure(refusal);
    }
    lose_start(reason, has_come_up);
}

/// Throws when it was the last attempt.
void Lane::lose_start(const std::string& reason, bool has_come_up) {
    if (m_shared.stop.requested()) throw Stopped();
    ++m_setbacks;
    if (m_failed_starts++ == m_shared.settings.retries)
        throw std::runtime_error((has_come_up ? "No host starts the job: " : "No host comes up: ") + reason);
    warn((has_come_up ? "a host did not start the job, trying again: "
                      : "a host did not come up, trying again: ") +
         reason);
}

/// What the host found wrong in a scene that it loaded all the same.
void Lane::log_findings() {
    for (const std::string& entry : m_host->take_log_entries())
        if (!m_shared.settings.show_host_output) m_shared.log_once(m_number, entry);
}

OutputPlan Lane::ask_for_plan(int frame) {
    if (const auto lines = m_host->session().output_lines(frame))
        return make_output_plan(*lines, m_shared.job);
    std::optional<std::string> name;
    if (!m_shared.job.output) name = m_host->session().scene_output(frame);
    return make_output_plan_of_name(name, m_shared.job);
}

FrameOutcome Lane::begin_outcome(const FrameTask& task) const {
    FrameOutcome outcome;
    outcome.frame = task.frame;
    outcome.attempts = task.attempts + 1;
    outcome.host = m_number;
    outcome.began = std::chrono::system_clock::now();
    return outcome;
}

void Lane::render(FrameTask& task) {
    m_frame = task.frame;
    m_planned = m_plan->files_of(task.frame, m_shared.job.options);
    if (m_shared.settings.resume && task.attempts == 0 && is_whole(task)) return;
    emit(event::FrameBegins{task.attempts + 1});
    Expectation expectation{m_shared.settings.verify, m_plan->width, m_plan->height, snapshot_of(m_planned)};
    FrameOutcome outcome = begin_outcome(task);
    const auto begin = Clock::now();
    try {
        outcome = attempt(task, expectation);
        render_anew_if_skipped(task, outcome, expectation);
    } catch (const HostFailure& failure) {
        outcome.time = since(begin);
        outcome.error = lose_host(failure.what());
        ++m_setbacks;
        return fail(task, std::move(outcome), Fault::of_the_host);
    }
    const bool session_over = m_session_over;
    conclude(task, std::move(outcome));
    if (!session_over) return;
    m_host->end();
    note_end(m_host->how_it_ended(), false);
}

/// Whether there is nothing to do for the frame, because an earlier run has done it.
bool Lane::is_whole(const FrameTask& task) {
    FrameOutcome outcome;
    outcome.frame = task.frame;
    outcome.attempts = 0;
    outcome.images = m_planned;
    m_verified = snapshot_of(m_planned);
    const bool checks = m_shared.settings.verify != Verify::off;
    check_files(outcome.images,
                {checks ? m_shared.settings.verify : Verify::fast, m_plan->width, m_plan->height, {}});
    const std::string problems = problems_of(outcome.images);
    if (problems.empty() && !m_planned.empty()) {
        outcome.status = Status::done;
        outcome.skipped = true;
        outcome.files.emplace();
        finish_frame(task, std::move(outcome));
        return true;
    }
    emit(event::Message{Severity::info, Source::worker,
                        m_planned.empty()
                            ? "it can't be told whether the frame is there: nothing names its files"
                            : "the frame is rendered: " + problems});
    return false;
}

/// A scene that skips frames whose file is there does so too where an element is missing or the file is damaged.
void Lane::render_anew_if_skipped(const FrameTask& task, FrameOutcome& outcome, Expectation& expectation) {
    if (!outcome.skipped || outcome.error.empty() || !m_plan->skips_frames) return;
    warn("the scene skips the frame, which is not whole, so it is rendered anew: " + outcome.error);
    const SetAside aside(m_planned.front().path);
    expectation.before = snapshot_of(m_planned);
    outcome = attempt(task, expectation);
}

FrameOutcome Lane::attempt(const FrameTask& task, const Expectation& expectation) {
    FrameOutcome outcome = begin_outcome(task);
    m_host->take_log_entries();  // the next ones are this frame's
    const auto begin = Clock::now();
    const CommandResult result = m_host->session().render(task.frame);
    outcome.time = since(begin);
    m_session_over = result.session_over;
    m_answers_missed = !result.success && result.answers_missed;
    if (!result.success) {
        outcome.status = Status::failed;
        outcome.error = with_log_entries(result.error, m_host->take_log_entries());
        return outcome;
    }
    outcome.status = Status::done;
    outcome.files = m_host->session().written_files(task.frame);
    look_at_files(outcome, expectation);
    if (!outcome.error.empty()) outcome.status = Status::failed;
    return outcome;
}

/// The plug-in answers alike for a frame that it skipped since its file is there and for a scene that saves nothing.
void Lane::look_at_files(FrameOutcome& outcome, const Expectation& expectation) {
    const bool is_checked = expectation.verify != Verify::off;
    if (!outcome.files) {
        if (is_checked) outcome.error = "The frame was rendered, but its files are not known.";
        return;
    }
    Expectation expected = expectation;
    if (outcome.files->empty()) {
        outcome.skipped = !m_planned.empty() && identity_of(m_planned.front().path).has_value();
        if (!outcome.skipped) return;
        expected.before.clear();
        outcome.images = m_planned;
    } else {
        outcome.images = files_of_names(*outcome.files, m_planned);
    }
    m_verified = snapshot_of(outcome.images);
    check_files(outcome.images, expected);
    outcome.error = problems_of(outcome.images);
}

void Lane::conclude(FrameTask& task, FrameOutcome outcome) {
    if (outcome.status == Status::done) {
        m_setbacks = 0;
        return finish_frame(task, std::move(outcome));
    }
    if (const auto report = crash_report_of(outcome.error)) emit(event::CrashReported{*report});
    if (m_answers_missed)
        outcome.error =
            "This worker was held up and answered no progress report in time, so the plug-in gave the "
            "frame up: " +
            outcome.error;
    fail(task, std::move(outcome), m_answers_missed ? Fault::of_the_worker : Fault::of_the_frame);
}

bool Lane::may_try_again(const FrameTask& task, Fault fault) const {
    if (fault == Fault::of_the_worker) return task.attempts < most_attempts;
    if (fault == Fault::of_the_frame && !m_shared.settings.retry_errors) return false;
    return task.failures < m_shared.settings.retries;
}

void Lane::fail(FrameTask& task, FrameOutcome outcome, Fault fault) {
    if (m_shared.stop.aborting()) {
        give_back(task, "");  // it failed because it was told to
        m_shared.queue.finish();
    } else if (!m_shared.is_hopeless(outcome.error) && may_try_again(task, fault)) {
        give_back(task, outcome.error);
        ++task.attempts;
        if (fault != Fault::of_the_worker) ++task.failures;
        m_shared.queue.give_back(task);
    } else {
        outcome.status = Status::failed;
        finish_frame(task, std::move(outcome));
    }
}

void Lane::finish_frame(const FrameTask& task, FrameOutcome outcome) {
    emit(event::FrameEnds{outcome});
    m_frame.reset();
    const bool is_done = outcome.status == Status::done;
    m_shared.judge(outcome);
    m_shared.record(task, std::move(outcome), is_done ? std::exchange(m_verified, {}) : Snapshot());
}

/// Nothing came of the frame. With a reason it is tried again.
void Lane::give_back(const FrameTask& task, const std::string& reason) {
    emit(event::FrameGivenBack{reason, task.attempts + 1});
    m_frame.reset();
}

/// Ends a host that died, hangs or talks nonsense, and removes what it left. Returns the reason in full.
std::string Lane::lose_host(const std::string& failure) {
    const std::string reason = m_host->end_after(failure);
    note_end(m_host->how_it_ended() + ": " + failure, true);
    remove_unfinished_files(m_processes, m_planned);
    return reason;
}

void Lane::note_end(const std::string& how, bool failed) {
    emit(event::HostEnds{how, failed});
    m_host.reset();
}

void Lane::replace_if_too_large() {
    const int most = m_shared.settings.host.memory_mib;
    if (most == 0) return;
    const auto used = m_host->process().processes().memory_bytes >> 20;
    if (used <= static_cast<std::uint64_t>(most)) return;
    warn("the host has " + std::to_string(used) + " MiB, more than the " + std::to_string(most) +
         " that it may have: it is replaced");
    finish_host();
}

/// The host's part of the job is over.
void Lane::finish_host() {
    try {
        const bool session_goes_on =
            !m_shared.commands.post_script || !m_shared.goes_on() || run_post_script();
        if (session_goes_on) end_job();
    } catch (const HostFailure& failure) {
        warn("the host failed at the end of the job: " + lose_host(failure.what()));
        return;
    }
    m_host->end();
    note_end(m_host->how_it_ended(), false);
}

/// Returns false when the session ended with the script's error.
bool Lane::run_post_script() {
    const CommandResult result = m_host->session().run_script(*m_shared.commands.post_script);
    if (!result.success) m_shared.add_problem("The post script failed: " + result.error);
    return !result.session_over;
}

void Lane::end_job() {
    const CommandResult result = m_host->session().end_job();
    if (!result.success && !m_shared.stop.requested())
        warn("warning from the end of the job: " + result.error);
}

/// Hosts that fail one after the other are started ever more slowly.
void Lane::back_off() {
    if (m_setbacks == 0) return;
    const milliseconds pause = std::min(longest_pause, first_pause * (1 << std::min(m_setbacks - 1, 10)));
    if (wait_readable({m_shared.stop.requested_fd()}, deadline_in(pause))) throw Stopped();
}

void Lane::on_title(std::string_view title) {
    m_title = title;
    emit(event::TitleSet{m_title});
}

void Lane::on_progress(double percent) {
    if (percent >= 0) emit(event::Progressed{percent});
}

void Lane::on_log(std::string_view text) {
    pass_on(Source::script, text);
}

void Lane::on_start(int process_id) {
    emit(event::HostStarts{process_id, m_host_settings.log_folder});
}

void Lane::on_quiet(const Quietness& what) {
    emit(event::HostQuiet{what.quiet_for, what.cpu_time, what.memory_bytes, m_title, what.last_lines,
                          what.state});
}

void Lane::on_host_output(std::string_view line) {
    if (m_shared.settings.show_host_output) pass_on(Source::host, line);
}

void Lane::pass_on(Source source, std::string_view text) {
    if (!m_flood_gate.lets_through(text.size())) {
        if (m_flood_gate.begins_to_keep_back()) warn("the host writes without end: what follows is left out");
        return;
    }
    if (m_flood_gate.kept_back() > 0)
        warn(std::to_string(m_flood_gate.kept_back()) + " texts of the host were left out");
    emit(event::Message{Severity::info, source, std::string(text)});
}

void Lane::warn(const std::string& text) {
    emit(event::Message{Severity::warning, Source::worker, text});
}

void Lane::emit(event::Anything what) {
    m_shared.events.emit(std::move(what), m_number, m_frame);
}

}  // namespace corrivane::worker
