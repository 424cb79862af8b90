#include "worker/job_commands.h"

#include "net/farm_protocol.h"
#include "worker/command_line_text.h"

#include <boost/lexical_cast.hpp>

namespace corrivane::worker {
namespace {

std::vector<std::string> ignore_commands(const IgnoreMissing& ignore) {
    std::vector<std::string> lines;
    if (ignore.files) lines.push_back(command_line(command::k_ignore_missing_external_files));
    if (ignore.uvws) lines.push_back(command_line(command::k_ignore_missing_uvws));
    if (ignore.dlls) lines.push_back(command_line(command::k_ignore_missing_dlls));
    if (ignore.xrefs) lines.push_back(command_line(command::k_ignore_missing_xrefs));
    return lines;
}

std::string region_command(const Region& region) {
    std::vector<std::string> parameters;
    for (const int value : {region.padding, region.left, region.top, region.right, region.bottom})
        parameters.push_back(std::to_string(value));
    return command_line(command::k_region_rendering, parameters);
}

/// The plug-in puts the file's name right behind this text.
std::string preview_prefix(const std::string& folder) {
    return folder.ends_with('\\') || folder.ends_with('/') ? folder : folder + '\\';
}

std::vector<std::string> option_commands(const Job& job) {
    const JobOptions& options = job.options;
    std::vector<std::string> lines;
    if (options.frame_base)
        lines.push_back(command_line(command::k_frame_number_base, {std::to_string(*options.frame_base)}));
    if (options.region) lines.push_back(region_command(*options.region));
    if (options.jpeg_preview)
        lines.push_back(command_line(command::k_use_jpeg_output, {preview_prefix(*options.jpeg_preview)}));
    if (options.fail_on_black)
        lines.push_back(command_line(command::k_fail_on_black_frames,
                                     {std::to_string(options.fail_on_black->percentage),
                                      boost::lexical_cast<std::string>(options.fail_on_black->threshold)}));
    if (job.output) lines.push_back(command_line(command::k_output_image_filename, {*job.output}));
    if (options.restart_renderer) lines.push_back(command_line(command::k_restart_renderer_mode));
    if (options.hide_frame_buffer) lines.push_back(command_line(command::k_hide_frame_buffer));
    if (options.remove_padding) lines.push_back(command_line(command::k_remove_padding));
    if (options.alpha_split) lines.push_back(command_line(command::k_alpha_split));
    return lines;
}

}  // namespace

JobCommands make_job_commands(const Job& job) {
    JobCommands commands;
    commands.before_start = ignore_commands(job.options.ignore_missing);
    commands.start = command_line(command::k_start_job, {job.scene, job.camera});
    commands.after_start = option_commands(job);
    const int frame = job.frames.empty() ? 0 : job.frames.front();
    if (job.pre_script) commands.pre_script = script_command(frame, *job.pre_script, false);
    if (job.post_script) commands.post_script = script_command(frame, *job.post_script, false);
    return commands;
}

std::string render_command(int frame) {
    return command_line(command::k_render_task, {std::to_string(frame)});
}

std::string script_command(int frame, const std::string& file, bool set_time) {
    std::vector<std::string> parameters{std::to_string(frame), file};
    if (set_time) parameters.emplace_back(k_set_time);
    return command_line(command::k_execute_script, parameters);
}

std::string script_text_command(int frame, const std::string& script) {
    return command_line(command::k_execute_string_script, {std::to_string(frame), script});
}

}  // namespace corrivane::worker
