#include "worker/job_commands.h"

#include "net/farm_protocol.h"
#include "worker/command_line_text.h"
#include "worker/job_settings.h"

namespace corrivane::worker {

JobCommands make_job_commands(const Job& job) {
    JobCommands commands;
    commands.start = command_line(command::start_job, {job.scene, job.camera});
    for (const JobSetting& setting : job_setting_table())
        if (setting.add_commands) setting.add_commands(job, commands);
    const int frame = job.frames.empty() ? 0 : job.frames.front();
    if (job.pre_script) commands.pre_script = script_command(frame, *job.pre_script, false);
    if (job.post_script) commands.post_script = script_command(frame, *job.post_script, false);
    return commands;
}

std::string render_command(int frame) {
    return command_line(command::render_task, {std::to_string(frame)});
}

std::string script_command(int frame, const std::string& file, bool set_time) {
    std::vector<std::string> parameters{std::to_string(frame), file};
    if (set_time) parameters.emplace_back(corrivane::set_time);
    return command_line(command::execute_script, parameters);
}

std::string script_text_command(int frame, const std::string& script) {
    return command_line(command::execute_string_script, {std::to_string(frame), script});
}

}  // namespace corrivane::worker
