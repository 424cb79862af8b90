#include "farm/command_handlers.h"
#include "net/farm_protocol.h"
#include "support/log.h"

#include <windows.h>

#include <stdexcept>

namespace {

namespace reply = corrivane::reply;

/// Before a worker is told more about a frame that failed.
constexpr DWORD pause_after_error_ms = 500;

void send_fault(const Command& command, const std::string& error_text) {
    command.reply_error(error_text + "\n" + command.job.GetLastExceptionReport());
}

/// Runs a guarded job operation, which sets its error text, and replies to an exception and to a
/// trapped fault.
template <typename Operation>
void run_and_report_errors(const Command& command, Operation operation) {
    std::string error_text;
    try {
        operation(error_text);
    } catch (const std::exception& error) {
        connect_log.entry("Sending error");
        command.reply_error(error.what());
    }
    if (error_text.empty()) return;
    connect_log.entry("Sending error");
    send_fault(command, error_text);
}

unsigned short render_and_report_errors(const Command& command) {
    unsigned short result = 1;
    std::string error_text;
    try {
        result = command.job.CallRenderFrame(command.job.currentFrame, command.socket, error_text);
    } catch (const std::exception& error) {
        command.reply_error(error.what());
        Sleep(pause_after_error_ms);
    }
    if (!error_text.empty()) {
        send_fault(command, error_text);
        Sleep(pause_after_error_ms);
    }
    return result;
}

void render_task(Command& command) {
    if (command.parameter_count() != 1)
        return command.reply_error("RenderTask: Expected 1 parameter, got " +
                                   std::to_string(command.parameter_count()));
    const std::optional<int> frame = parse_integer(command.parameter(1));
    if (!frame)
        return command.reply_error("RenderTask: Parameter 1 , \"" + command.parameter(1) +
                                   "\", is not a valid frame number.");
    command.job.currentFrame = *frame;
    if (!command.job.jobRunning) return command.reply_error("RenderTask: Called without being in a job.");

    command.reply(reply::started);
    if (render_and_report_errors(command) == 0)
        command.reply(reply::success);
    else
        command.reply(reply::frame_failed);
}

void start_job(Command& command) {
    if (command.parameter_count() != 2)
        return command.reply_error("StartJob: Expected 2 parameters, got " +
                                   std::to_string(command.parameter_count()));
    run_and_report_errors(command, [&command](std::string& error_text) {
        command.job.CallStartJob(command.parameter(1), command.parameter(2), error_text);
    });
    // The description follows an error too: the worker tells a failure by the error reply in front of it.
    connect_log.entry("Sending success");
    command.reply(std::string(reply::success_description) + command.job.DescribeOutput());
}

void end_job(Command& command) {
    run_and_report_errors(command,
                          [&command](std::string& error_text) { command.job.CallEndJob(error_text); });
    command.reply(reply::success);
}

constexpr vocabulary_entry vocabulary[] = {
    {corrivane::command::render_task, render_task},
    {corrivane::command::start_job, start_job},
    {corrivane::command::end_job, end_job},
};

}  // namespace

std::span<const vocabulary_entry> job_commands() {
    return vocabulary;
}
