#include "worker/hosts/farm_session.h"

#include "net/farm_protocol.h"
#include "worker/base/failures.h"
#include "worker/base/printable.h"
#include "worker/hosts/farm_answers.h"
#include "worker/job/command_line_text.h"

#include <algorithm>

namespace corrivane::worker {
namespace {

/// Any word but CONTINUE ends a render; this one says why.
constexpr std::string_view abort_word = "ABORT";
/// After an error reply the plug-in has at most a pause of half a second and one more reply to make.
constexpr std::chrono::milliseconds patience_after_error{5000};
constexpr std::chrono::milliseconds handshake_patience{10000};
constexpr std::chrono::milliseconds end_job_patience{60000};
/// After so many answers that it missed, one after the other, the plug-in gives the frame up.
constexpr std::size_t missed_answers = 6;
constexpr std::chrono::milliseconds moment{50};
/// The plug-in sends three at most.
constexpr std::size_t max_error_replies = 8;

/// Adds every name of the frame's list of written files, each followed by a line feed.
constexpr const char* written_files_script = R"((
    local names = ""
    local index = 0
    local name = QuillaneUtil.GetOutputFilename index
    while name != undefined do (
        names += name + "\n"
        index += 1
        name = QuillaneUtil.GetOutputFilename index
    )
    names
))";

/// A host that is none of ours knows nothing of it.
constexpr const char* output_lines_script = R"(try (standin.outputs()) catch (""))";

/// What a script returned is its own affair; with every other error of a script the plug-in hangs up.
bool script_result_is_last(std::string_view reply) {
    return reply.starts_with("ERROR: Script did not return ");
}
bool no_error_is_last(std::string_view) {
    return false;
}
bool frame_failed_is_last(std::string_view reply) {
    return reply == reply::frame_failed;
}

[[noreturn]] void refuse_message(std::string_view message) {
    throw HostFailure("the host sent what no plug-in sends: \"" + printable(message.substr(0, 200)) + "\"");
}

void add_error(CommandResult& result, std::string_view reply) {
    // A frame's last error only says that it failed; it is the reason where no other was given.
    if (reply == reply::frame_failed && !result.error.empty()) return;
    if (!result.error.empty()) result.error += '\n';
    result.error += reply.substr(reply::error.size());
}

/// What a success reply carries; nothing for another reply.
std::optional<std::string> success_text(const std::string& reply) {
    if (reply == reply::success) return "";
    for (const std::string_view form : {reply::success_description, reply::success_value})
        if (reply.starts_with(form)) return reply.substr(form.size());
    return std::nullopt;
}

std::vector<std::string> split_lines(std::string_view text) {
    std::vector<std::string> lines;
    for (std::size_t end = 0; (end = text.find('\n')) != std::string_view::npos; text.remove_prefix(end + 1))
        lines.emplace_back(text.substr(0, end));
    return lines;
}

}  // namespace

FarmSession::FarmSession(HostConnection& connection, const Job& job, SessionObserver& observer,
                         const StopRequest& stop, const TimeLimits& limits)
    : m_connection(connection), m_job(job), m_observer(observer), m_stop(stop), m_limits(limits) {}

std::string FarmSession::handshake() {
    m_connection.send(std::string(handshake_word));
    std::string greeting = m_connection.receive(deadline_in(handshake_patience));
    if (greeting.starts_with(reply::error))
        throw HostFailure("the plug-in refused the session: " + greeting.substr(reply::error.size()));
    if (!greeting.starts_with(greeting_prefix) || greeting.ends_with(incompatible_note))
        refuse_message(greeting);
    return greeting;
}

void FarmSession::start_job(const JobCommands& commands) {
    const auto require = [](const CommandResult& result) {
        if (!result.success) throw JobFailure(result.error);
    };
    for (const std::string& line : commands.before_start)
        m_connection.send(line);
    require(run(commands.start, m_limits.load, no_error_is_last));
    for (const std::string& line : commands.after_start)
        m_connection.send(line);
    // Options are answered only when they are wrong. A command that is answered brings such errors to light.
    const int frame = m_job.frames.empty() ? 0 : m_job.frames.front();
    const std::string last_option =
        commands.element_outputs.value_or(script_text_command(frame, "\"options are set\""));
    require(run_started(last_option, script_result_is_last));
    if (commands.pre_script) run_pre_script(*commands.pre_script);
}

void FarmSession::run_pre_script(const std::string& command) {
    CommandResult result;
    try {
        result = run_script(command);
    } catch (const HostFailure& failure) {
        throw HostFailure(std::string("in the pre-script, ") + failure.what());
    }
    if (!result.success) throw JobFailure("the pre-script failed: " + result.error);
}

CommandResult FarmSession::render(int frame) {
    m_progress_times.clear();
    m_answers_missed = false;
    m_connection.set_stop_patience(render_stop_patience);
    CommandResult result = run_started(render_command(frame), frame_failed_is_last);
    m_connection.set_stop_patience(stop_patience);
    result.answers_missed = m_answers_missed;
    return result;
}

std::optional<std::string> FarmSession::output_lines(int frame) {
    const CommandResult result =
        run_started(script_text_command(frame, output_lines_script), script_result_is_last);
    if (result.session_over) throw HostFailure("the host can't tell what it writes: " + result.error);
    return result.success && !result.text.empty() ? std::optional(result.text) : std::nullopt;
}

std::optional<std::vector<std::string>> FarmSession::written_files(int frame) {
    const auto names = ask(frame, written_files_script, "names of the written files");
    if (!names) return std::nullopt;
    return split_lines(*names);
}

std::optional<std::string> FarmSession::scene_output(int frame) {
    return ask(frame, "rendOutputFilename", "scene's output file name");
}

/// The value of a script; `what` it is stands in the log when there is none.
std::optional<std::string> FarmSession::ask(int frame, const char* script, const std::string& what) {
    const CommandResult result = run_started(script_text_command(frame, script), script_result_is_last);
    if (result.success) return result.text;
    const std::string problem = "the " + what + " can't be read: " + result.error;
    if (result.session_over) throw HostFailure(problem);
    m_observer.on_log(problem);
    return std::nullopt;
}

CommandResult FarmSession::run_script(const std::string& script_command) {
    return run_started(script_command, script_result_is_last);
}

CommandResult FarmSession::end_job() {
    return run(command_line(command::end_job), end_job_patience, no_error_is_last);
}

/// A command that begins with STARTED once its parameters are accepted.
CommandResult FarmSession::run_started(const std::string& command, IsLastError is_last_error) {
    const Deadline deadline = deadline_in(m_limits.work);
    m_connection.send(command);
    const std::string reply = next_reply(deadline);
    if (reply == reply::started) return collect_replies(deadline, is_last_error);
    if (!reply.starts_with(reply::error)) refuse_message(reply);
    CommandResult refused;
    add_error(refused, reply);
    return refused;
}

CommandResult FarmSession::run(const std::string& command, std::chrono::milliseconds limit,
                               IsLastError is_last_error) {
    m_connection.send(command);
    return collect_replies(deadline_in(limit), is_last_error);
}

/// Reads replies up to the last one of a command. A host that goes away after an error has told its reason,
/// so that is the command's result.
CommandResult FarmSession::collect_replies(Deadline deadline, IsLastError is_last_error) {
    CommandResult result;
    for (std::size_t count = 0; count <= max_error_replies; ++count) {
        std::string reply;
        try {
            reply = next_reply(count == 0 ? deadline : std::min(deadline, deadline_in(patience_after_error)));
        } catch (const HostFailure&) {
            if (count == 0) throw;
            result.session_over = true;
            return result;
        }
        if (const auto text = success_text(reply)) {
            result.success = result.error.empty();
            result.text = *text;
            return result;
        }
        if (!reply.starts_with(reply::error)) refuse_message(reply);
        add_error(result, reply);
        if (is_last_error(reply)) return result;
    }
    throw HostFailure("the host sends one error after another: " + result.error);
}

std::string FarmSession::next_reply(Deadline deadline) {
    for (;;) {
        std::string message = m_connection.receive(deadline);
        if (!message.starts_with(request::prefix)) return message;
        if (!handle_request(message)) refuse_message(message);
        // Requests alone keep no command alive.
        if (Clock::now() >= deadline) throw HostFailure("the host did not answer in time");
    }
}

bool FarmSession::handle_request(std::string_view message) {
    const auto argument_of = [&](std::string_view prefix) { return message.substr(prefix.size()); };
    if (message.starts_with(request::progress)) {
        answer_progress(argument_of(request::progress));
    } else if (message.starts_with(request::set_title)) {
        m_observer.on_title(argument_of(request::set_title));
    } else if (message.starts_with(request::log_line)) {
        m_observer.on_log(argument_of(request::log_line));
    } else if (const auto answer = answer_value_request(message, m_job)) {
        m_connection.send(*answer);
    } else {
        return false;
    }
    return true;
}

/// A request leaves the plug-in when the one before is answered, or 100 ms after it. Requests that are read in one
/// moment have therefore waited for each other's answers in vain.
void FarmSession::note_progress() {
    m_progress_times.push_back(Clock::now());
    if (m_progress_times.size() < missed_answers) return;
    if (m_progress_times.back() - m_progress_times.front() < moment) m_answers_missed = true;
    m_progress_times.pop_front();
}

/// The render waits 100 ms at most for the answer, so it leaves before anything is shown.
void FarmSession::answer_progress(std::string_view argument) {
    m_connection.send(std::string(m_stop.aborting() ? abort_word : continue_word));
    if (m_stop.aborting()) m_connection.set_stop_patience(stop_patience);  // it has been told
    note_progress();
    m_observer.on_progress(parse_progress(argument));
}

}  // namespace corrivane::worker
