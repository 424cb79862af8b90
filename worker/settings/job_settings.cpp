#include "worker/settings/job_settings.h"

#include "net/farm_protocol.h"
#include "worker/job/command_line_text.h"

#include <chrono>
#include <filesystem>
#include <stdexcept>
#include <type_traits>

namespace corrivane::worker {
namespace {

using std::chrono::milliseconds;

template <typename Part>
constexpr bool is_of_job = std::is_same_v<Part, Job> || std::is_same_v<Part, JobOptions>;

template <typename Part>
auto& part_of_job(auto& job) {
    if constexpr (std::is_same_v<Part, Job>)
        return job;
    else
        return job.options;
}

/// The structure, among those that settings are kept in, that has a setting's field.
template <typename Part>
Part& part_of(JobSettings& settings) {
    if constexpr (is_of_job<Part>)
        return part_of_job<Part>(settings.job);
    else if constexpr (std::is_same_v<Part, RunSettings>)
        return settings.run;
    else if constexpr (std::is_same_v<Part, HostSettings>)
        return settings.run.host;
    else if constexpr (std::is_same_v<Part, TimeLimits>)
        return settings.run.limits;
    else if constexpr (std::is_same_v<Part, ViewSettings>)
        return settings.run.views;
}

/// What is special about a setting whose field has this type.
template <typename Value>
struct Special {
    bool required = false;
    void (*check)(const Value&) = nullptr;  // throws std::invalid_argument with the reason
    /// Tells the plug-in after the start of the job, with the value as parameters.
    std::string_view command = {};
    void (*add_commands)(const Job&, JobCommands&) = nullptr;
};

template <typename Value>
void add_command(JobCommands& commands, std::string_view name, const std::optional<Value>& value) {
    if (value) commands.after_start.push_back(command_line(name, command_parameters(*value)));
}

void add_command(JobCommands& commands, std::string_view name, const bool& value) {
    if (value) commands.after_start.push_back(command_line(name));
}

/// A row of the table.
template <typename Part, typename Value>
JobSetting setting(const char* key, const char* flag, const char* form, const char* help, Value Part::*field,
                   Special<std::type_identity_t<Value>> special = {}) {
    JobSetting row{.key = key, .flag = flag, .form = form, .help = help};
    const auto read = [field, check = special.check](const auto& source, JobSettings& settings) {
        Value& value = part_of<Part>(settings).*field;
        read_value(source, value);
        if (check) check(value);
    };
    row.read = [read](const json::Value& source, JobSettings& settings) {
        try {
            read(source, settings);
        } catch (const std::invalid_argument& error) {
            source.fail(error.what());
        }
    };
    row.read_option = read;
    row.is_required = special.required;
    row.is_repeatable = is_repeatable<Value>;
    if (special.add_commands) row.add_commands = special.add_commands;
    if constexpr (is_of_job<Part> &&
                  requires(JobCommands & lines, Value value) { add_command(lines, "", value); })
        if (!special.command.empty())
            row.add_commands = [field, name = special.command](const Job& job, JobCommands& commands) {
                add_command(commands, name, part_of_job<Part>(job).*field);
            };
    return row;
}

void not_empty(const std::string& text) {
    if (text.empty()) throw std::invalid_argument("is empty");
}

/// For names: an empty one would silently stand for none.
void is_named(const std::optional<std::string>& name) {
    not_empty(*name);
}

template <int least, int most>
void within(const int& number) {
    if (number < least || number > most)
        throw std::invalid_argument("must be from " + std::to_string(least) + " to " + std::to_string(most));
}

void within_a_year(const milliseconds& limit) {
    constexpr int year = 31'536'000;  // in seconds
    if (limit > std::chrono::seconds(year))
        throw std::invalid_argument("must be from 1 to " + std::to_string(year) + " seconds");
}

void within_a_year_or_none(const milliseconds& limit) {
    if (limit != milliseconds::max()) within_a_year(limit);
}

/// What is there has to be a folder; what is not there yet may become one.
void may_be_folder(const std::string& folder) {
    not_empty(folder);
    std::error_code ignored;
    if (std::filesystem::exists(folder, ignored) && !std::filesystem::is_directory(folder, ignored))
        throw std::invalid_argument('"' + folder + "\" is not a folder");
}

void may_be_folders(const std::map<char, std::string>& drives) {
    for (const auto& [letter, folder] : drives)
        may_be_folder(folder);
}

/// The part of its region that has a command-line option of its own.
JobSetting region_padding() {
    JobSetting row{.key = "options.region.padding",
                   .flag = "--region-padding",
                   .form = "N",
                   .help = "Pixels rendered around the region and cut off again"};
    row.read_option = [](const OptionTexts& texts, JobSettings& settings) {
        if (!settings.job.options.region) throw std::invalid_argument("needs --region");
        read_value(texts, settings.job.options.region->padding);
    };
    return row;
}

/// What verifying was called when it looked at less.
JobSetting check() {
    JobSetting row{.key = "check", .flag = "--check", .form = "", .help = "The same as --verify full"};
    const auto read = [](const auto& source, JobSettings& settings) {
        bool is_wanted = false;
        read_value(source, is_wanted);
        if (is_wanted) settings.run.verify = Verify::full;
    };
    row.read = read;
    row.read_option = read;
    return row;
}

void add_ignore_missing(const Job& job, JobCommands& commands) {
    commands.before_start = ignore_missing_commands(job.options.ignore_missing);
}

/// The plug-in puts the file's name right behind the folder's.
void add_jpeg_preview(const Job& job, JobCommands& commands) {
    if (!job.options.jpeg_preview) return;
    std::string folder = *job.options.jpeg_preview;
    if (!folder.ends_with('\\') && !folder.ends_with('/')) folder += '\\';
    commands.after_start.push_back(command_line(command::use_jpeg_output, {folder}));
}

std::vector<JobSetting> job_settings() {
    return {
        setting("scene", "--scene", "SCENE", "The scene file", &Job::scene, {.required = true}),
        setting("camera", "--camera", "NAME", "Camera to render through (default: the active view)",
                &Job::camera),
        setting("frames", "--frames", "LIST", "Frames: a comma list of N, A-B and A-BxSTEP", &Job::frames,
                {.required = true}),
        setting("output", "--output", "NAME", "Output file name (default: the scene's)", &Job::output,
                {.check = is_named, .command = command::output_image_filename}),
        setting("options.frameBase", "--frame-base", "N", "Number added to the frames in file names",
                &JobOptions::frame_base, {.command = command::frame_number_base}),
        setting("options.region", "--region", "L,T,R,B", "Part of the image to render, in pixels",
                &JobOptions::region, {.command = command::region_rendering}),
        region_padding(),
        setting("options.jpegPreview", "--jpeg-preview", "DIR", "Folder for JPEG previews",
                &JobOptions::jpeg_preview, {.check = is_named, .add_commands = add_jpeg_preview}),
        setting("options.failOnBlack", "--fail-on-black", "PERCENT,THRESHOLD",
                "Fail frames with so many percent of pixels (0 to 100) below a threshold (0 to 1)",
                &JobOptions::fail_on_black, {.command = command::fail_on_black_frames}),
        setting("options.ignoreMissing", "--ignore-missing", "KIND,...",
                "Load on without these: files, uvws, dlls, xrefs", &JobOptions::ignore_missing,
                {.add_commands = add_ignore_missing}),
        setting("options.restartRenderer", "--restart-renderer", "", "Open the renderer anew for each frame",
                &JobOptions::restart_renderer, {.command = command::restart_renderer_mode}),
        setting("options.hideFrameBuffer", "--hide-frame-buffer", "", "Don't show the frame-buffer window",
                &JobOptions::hide_frame_buffer, {.command = command::hide_frame_buffer}),
        setting("options.removePadding", "--remove-padding", "",
                "Don't number the output file; for a job of one frame", &JobOptions::remove_padding,
                {.command = command::remove_padding}),
        setting("options.alphaSplit", "--alpha-split", "", "Expect the alpha channel in a file of its own",
                &JobOptions::alpha_split, {.command = command::alpha_split}),
        setting("jobInfo", "--job-info", "KEY=VALUE", "What scripts may ask of the job; repeatable",
                &Job::job_info),
        setting("submitInfo", "--submit-info", "KEY=VALUE",
                "What scripts may ask of the submission; a key that is repeated has several values",
                &Job::submit_info),
        setting("auxFiles", "--aux-file", "FILE", "A file that scripts may ask for; repeatable",
                &Job::aux_files),
        setting("preScript", "--pre-script", "FILE",
                "Script file that each host runs after it has started the job", &Job::pre_script,
                {.check = is_named}),
        setting("postScript", "--post-script", "FILE",
                "Script file that each host runs before it ends the job", &Job::post_script,
                {.check = is_named}),
        setting("hosts", "--hosts", "N", "Hosts at work at the same time (default: 1)", &RunSettings::hosts,
                {.check = within<1, 64>}),
        setting("retries", "--retries", "N", "Further attempts at a frame that came to nothing (default: 2)",
                &RunSettings::retries, {.check = within<0, 100>}),
        setting("retryErrors", "--retry-errors", "on|off",
                "Whether a frame that was answered with an error is tried again (default: on)",
                &RunSettings::retry_errors),
        setting("loadTimeout", "--load-timeout", "S",
                "Seconds for a host to load the scene, 0 for no limit (default: 600)", &TimeLimits::load,
                {.check = within_a_year_or_none}),
        check(),
        setting(
            "verify", "--verify", "full|fast|off",
            "How the files of a frame are looked at before it counts: to the last pixel; header, size and "
            "end; not at all (default: full)",
            &RunSettings::verify),
        setting("resume", "--resume", "", "Render only the frames whose files are missing or not whole",
                &RunSettings::resume),
        setting("finishFrames", "--finish-frames", "",
                "The first Ctrl-C lets the running frames finish; the second one stops them",
                &RunSettings::finish_frames),
    };
}

std::vector<JobSetting> host_settings() {
    return {
        setting("host", "--host", "FILE",
                "The host program, which gets its script on standard input (default: corrivane-host beside "
                "this program)",
                &HostSettings::program, {.check = not_empty}),
        setting("drives", "--drive", "LETTER=DIR",
                "Folder that stands for a drive (default: C=drive_c); repeatable", &HostSettings::drives,
                {.check = may_be_folders}),
        setting("network", "--network", "DIR", "Folder that stands for the network", &HostSettings::network,
                {.check = may_be_folder}),
        setting("library", "--library", "FILE", "The plug-in library (default: the host's)",
                &HostSettings::library),
        setting("threads", "--threads", "N",
                "Threads that each host renders with (default: the cores, shared among the hosts)",
                &HostSettings::threads, {.check = within<1, 1024>}),
        setting("nice", "--nice", "N", "Lower the hosts' priority, by 1 to 19", &HostSettings::nice,
                {.check = within<0, 19>}),
        setting("memory", "--memory", "MIB", "Replace a host that has more memory than that, between frames",
                &HostSettings::memory_mib, {.check = within<0, 1 << 24>}),
        setting("quietTimeout", "--quiet-timeout", "S",
                "Say what a host does that was quiet for so many seconds, 0 for never (default: 60)",
                &TimeLimits::quiet, {.check = within_a_year_or_none}),
        setting("startTimeout", "--start-timeout", "S",
                "Seconds for a host to start and connect (default: 60)", &TimeLimits::start,
                {.check = within_a_year}),
        setting("frameTimeout", "--frame-timeout", "S",
                "Seconds for a frame or a script, 0 for no limit (default: 3600)", &TimeLimits::work,
                {.check = within_a_year_or_none}),
        setting("showListener", "--show-listener", "", "Show what the host prints",
                &RunSettings::show_host_output),
    };
}

std::vector<JobSetting> view_settings() {
    return {
        setting("progress", "--progress", "KIND",
                "How progress is shown: bar, lines, farm (lines, and PROGRESS: 45%, ALF_PROGRESS 45%, "
                "@IMAGE@path), none; auto is the bar on a terminal and lines elsewhere (default: auto)",
                &ViewSettings::progress),
        setting("events", "--events", "FILE", "Add what happens to this file, as lines of JSON",
                &ViewSettings::events, {.check = not_empty}),
        setting("report", "--report", "DIR", "Write a page about the job, index.html, into this folder",
                &ViewSettings::report, {.check = may_be_folder}),
        setting(
            "crashReports", "--crash-reports", "DIR",
            "Folder for the plug-in's crash reports (default: corrivane-crashes beside the job file or in "
            "the current folder)",
            &ViewSettings::crash_reports, {.check = may_be_folder}),
    };
}

std::vector<JobSetting> make_table() {
    std::vector<JobSetting> table = job_settings();
    for (JobSetting& row : view_settings())
        table.push_back(std::move(row));
    for (JobSetting& row : host_settings()) {
        row.scope = JobSetting::Scope::hosts;
        table.push_back(std::move(row));
    }
    return table;
}

}  // namespace

const std::vector<JobSetting>& job_setting_table() {
    static const std::vector<JobSetting> table = make_table();
    return table;
}

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

}  // namespace corrivane::worker
