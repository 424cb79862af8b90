#include "farm/command_handlers.h"
#include "net/farm_protocol.h"
#include "quorvel/max3d/maxscript.h"
#include "support/log.h"

#include <max/core_interface.h>

namespace {

namespace reply = corrivane::reply;
using quorvel::max3d::maxscript_value_text;

void reply_wrong_count(const Command& command) {
    command.reply_error(command.fields.front() + ": Expected 2 parameters, got " +
                        std::to_string(command.parameter_count()));
}

/// Checks the parameters that both script commands share and notes the frame; answers what is wrong. Both
/// call an invalid frame ExecuteScript's.
bool accept_script_command(Command& command) {
    if (command.parameter_count() < 1) return reply_wrong_count(command), false;
    const std::optional<int> frame = parse_integer(command.parameter(1));
    if (!frame) {
        command.reply_error("ExecuteScript: Parameter 1 , \"" + command.parameter(1) +
                            "\", is not a valid frame number.");
        return false;
    }
    command.job.currentFrame = *frame;
    if (command.parameter_count() < 2) return reply_wrong_count(command), false;
    return true;
}

void set_scene_time(int frame) {
    Interface* core = GetCOREInterface();
    core->SetTime(frame_time(frame), TRUE);
    connect_log.entry("Set Time to ", frame);
    connect_log.entry("GetTime(): ", core->GetTime());
}

bool means_success(Value* value) {
    return value->is(Ok_class) || (value->is(Boolean_class) && value->to_bool());
}

void execute_script(Command& command) {
    if (!accept_script_command(command)) return;
    const bool sets_time = command.parameter_count() >= 3 && command.parameter(3) == corrivane::set_time;
    command.reply(reply::started);
    if (sets_time) set_scene_time(command.job.currentFrame);
    const std::string& path = command.parameter(2);
    connect_log.entry("Executing script ", path);
    Value* value = quorvel::max3d::execute_maxscript_file(path);
    connect_log.entry("Done Executing script ", path);
    if (means_success(value))
        command.reply(reply::success);
    else
        command.reply_error("Script did not return success: " + maxscript_value_text(value));
}

void execute_string_script(Command& command) {
    if (!accept_script_command(command)) return;
    command.reply(reply::started);
    connect_log.entry("Executing script... ");
    Value* value = quorvel::max3d::execute_maxscript_string(command.parameter(2));
    connect_log.entry("... Done Executing script ");
    if (value->is(String_class)) {
        const char* text = value->to_string();
        command.reply(std::string(reply::success_value).append(text == nullptr ? "" : text));
    } else {
        command.reply_error("Script did not return a string: " + maxscript_value_text(value));
    }
}

constexpr vocabulary_entry vocabulary[] = {
    {corrivane::command::execute_script, execute_script},
    {corrivane::command::execute_string_script, execute_string_script},
};

}  // namespace

std::span<const vocabulary_entry> script_commands() {
    return vocabulary;
}
