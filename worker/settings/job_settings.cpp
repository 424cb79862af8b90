#include "worker/settings/job_settings.h"

#include "net/farm_protocol.h"
#include "worker/job/command_line_text.h"
#include "worker/job/output_names.h"
#include "worker/settings/text_file.h"

#include <nlohmann/json.hpp>

#include <cctype>
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
auto& part_of(auto& settings) {
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

template <typename Value>
constexpr bool is_optional = false;
template <typename Value>
constexpr bool is_optional<std::optional<Value>> = true;

/// Whether a setting's texts are paths.
enum class Paths { none, files };

/// What is special about a setting whose field has this type.
template <typename Value>
struct Special {
    bool required = false;
    Paths paths = Paths::none;
    void (*check)(const Value&) = nullptr;  // throws std::invalid_argument with the reason
    void (*adapt)(Value&) = nullptr;        // the same, and puts the value into its final form
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

template <typename Value>
void take_from(Paths paths, const std::string& folder, Value& value) {
    if constexpr (requires { take_paths_from(folder, value); })
        if (paths != Paths::none) take_paths_from(folder, value);
}

template <typename Value>
nlohmann::ordered_json written(const Value& value) {
    if constexpr (is_optional<Value>)
        return value ? written_value(*value) : nlohmann::ordered_json();
    else
        return written_value(value);
}

template <typename Value>
nlohmann::ordered_json schema_for() {
    if constexpr (is_optional<Value>)
        return schema_of(typename Value::value_type());
    else
        return schema_of(Value());
}

/// A default that stands for none is no value that a job file may have.
template <typename Value>
bool may_be_given(const Value& value, const Special<Value>& special) {
    if constexpr (is_optional<Value>)
        if (!value) return false;
    try {
        if (special.check) special.check(value);
        return true;
    } catch (const std::invalid_argument&) {
        return false;
    }
}

/// A row of the table.
template <typename Part, typename Value>
JobSetting setting(const char* key, const char* flag, const char* form, const char* help, Value Part::*field,
                   Special<std::type_identity_t<Value>> special = {}) {
    JobSetting row{.key = key, .flag = flag, .form = form, .help = help};
    const auto read = [field, special](const auto& source, const std::string& folder, JobSettings& settings) {
        Value& value = part_of<Part>(settings).*field;
        read_value(source, value);
        take_from(special.paths, folder, value);
        if (special.check) special.check(value);
        if (special.adapt) special.adapt(value);
    };
    row.read = [read](const json::Value& source, const std::string& folder, JobSettings& settings) {
        try {
            read(source, folder, settings);
        } catch (const std::invalid_argument& error) {
            source.fail(error.what());
        }
    };
    row.read_option = [read](const OptionTexts& texts, JobSettings& settings) { read(texts, "", settings); };
    row.write = [field, special](const JobSettings& settings) {
        Value value = part_of<Part>(settings).*field;
        if (!may_be_given(value, special)) return nlohmann::ordered_json();
        take_from(special.paths, std::filesystem::current_path().string(), value);
        return written(value);
    };
    row.schema = schema_for<Value>;
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

/// A shell takes the backslashes of a word without quotes away.
void has_its_backslashes(const std::string& path) {
    const bool has_drive =
        path.size() >= 3 && std::isalpha(static_cast<unsigned char>(path[0])) != 0 && path[1] == ':';
    if (!has_drive || path[2] == '\\' || path[2] == '/') return;
    throw std::invalid_argument(
        '"' + path + "\" has no \\ behind its drive, as if a shell had taken it away: write '" +
        path.substr(0, 2) + "\\folder\\name' in quotes, or " + path.substr(0, 2) + "/folder/name");
}

void is_path(const std::string& path) {
    not_empty(path);
    has_its_backslashes(path);
}

void is_named_path(const std::optional<std::string>& path) {
    is_path(*path);
}

void take_number_place(std::optional<std::string>& name) {
    name = without_number_place(*name);
}

/// Frames as texts and numbers of a job file.
std::string frame_text(const json::Value& source) {
    if (source.is_string()) return std::string(source.text());
    if (!source.is_array()) return std::to_string(source.whole(INT32_MIN, INT32_MAX));
    std::string text;
    for (const json::Value element : source.elements())
        text += (text.empty() ? "" : ",") + frame_text(element);
    return text;
}

FrameList read_frames(const std::string& text, const std::string& folder) {
    if (!text.starts_with('@')) return FrameList(text);
    const std::string file = path_from(folder, text.substr(1));
    try {
        return FrameList(read_text_file(file));
    } catch (const TextFileError& error) {
        throw std::invalid_argument(error.what());
    } catch (const std::invalid_argument& error) {
        throw std::invalid_argument(file + ": " + error.what());
    }
}

JobSetting frames_setting() {
    JobSetting row{
        .key = "frames",
        .flag = "--frames",
        .form = "LIST",
        .help =
            "Frames: 7, 1-48, 48-1, 1-48x2 (every second), 1-48y2 (the others), 1-48:2 (every second, "
            "then the others), all (the scene's range), with commas between them; @FILE reads them "
            "from a file",
        .is_required = true};
    row.read = [](const json::Value& source, const std::string& folder, JobSettings& settings) {
        try {
            settings.frames = read_frames(frame_text(source), folder);
        } catch (const std::invalid_argument& error) {
            source.fail(error.what());
        }
    };
    row.read_option = [](const OptionTexts& texts, JobSettings& settings) {
        settings.frames = read_frames(texts.front(), "");
    };
    row.write = [](const JobSettings& settings) { return written_value(settings.frames.text()); };
    row.schema = [] {
        const nlohmann::ordered_json item{{"type", {"string", "integer"}}};
        return nlohmann::ordered_json{{"type", {"string", "integer", "array"}}, {"items", item}};
    };
    return row;
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
    row.read_option = [](const OptionTexts& texts, JobSettings& settings) {
        bool is_wanted = false;
        read_value(texts, is_wanted);
        if (is_wanted) settings.run.verify = Verify::full;
    };
    row.read = [](const json::Value& source, const std::string& /*folder*/, JobSettings& settings) {
        if (source.boolean()) settings.run.verify = Verify::full;
    };
    row.schema = schema_for<bool>;
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
        setting("name", "--name", "TEXT", "What people call the job", &Job::name),
        setting("comment", "--comment", "TEXT", "What else people should know of it", &Job::comment),
        setting("scene", "--scene", "SCENE", "The scene file", &Job::scene,
                {.required = true, .paths = Paths::files, .check = is_path}),
        setting("camera", "--camera", "NAME", "Camera to render through (default: the active view)",
                &Job::camera),
        frames_setting(),
        setting("output", "--output", "NAME", "Output file name (default: the scene's)", &Job::output,
                {.paths = Paths::files,
                 .check = is_named_path,
                 .adapt = take_number_place,
                 .command = command::output_image_filename}),
        setting("outputFolder", "--output-folder", "DIR",
                "Folder for the output and the render elements, whatever theirs is", &Job::output_folder,
                {.paths = Paths::files, .check = is_named_path}),
        setting("options.frameBase", "--frame-base", "N", "Number added to the frames in file names",
                &JobOptions::frame_base, {.command = command::frame_number_base}),
        setting("options.region", "--region", "L,T,R,B", "Part of the image to render, in pixels",
                &JobOptions::region, {.command = command::region_rendering}),
        region_padding(),
        setting("options.jpegPreview", "--jpeg-preview", "DIR", "Folder for JPEG previews",
                &JobOptions::jpeg_preview,
                {.paths = Paths::files, .check = is_named_path, .add_commands = add_jpeg_preview}),
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
                &Job::aux_files, {.paths = Paths::files}),
        setting("preScript", "--pre-script", "FILE",
                "Script file that each host runs after it has started the job", &Job::pre_script,
                {.paths = Paths::files, .check = is_named_path}),
        setting("postScript", "--post-script", "FILE",
                "Script file that each host runs before it ends the job", &Job::post_script,
                {.paths = Paths::files, .check = is_named_path}),
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
        setting("keepGoing", "--keep-going", "",
                "Go on to the other frames after an error that all of them will have",
                &RunSettings::keep_going),
    };
}

std::vector<JobSetting> host_settings() {
    return {
        setting("host", "--host", "FILE",
                "The host program, which gets its script on standard input (default: corrivane-host beside "
                "this program)",
                &HostSettings::program, {.paths = Paths::files, .check = not_empty}),
        setting("drives", "--drive", "LETTER=DIR",
                "Folder that stands for a drive (default: C=drive_c); repeatable", &HostSettings::drives,
                {.paths = Paths::files, .check = may_be_folders}),
        setting("network", "--network", "DIR", "Folder that stands for the network", &HostSettings::network,
                {.paths = Paths::files, .check = may_be_folder}),
        setting("library", "--library", "FILE", "The plug-in library (default: the host's)",
                &HostSettings::library, {.paths = Paths::files}),
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
                &ViewSettings::events, {.paths = Paths::files, .check = not_empty}),
        setting("report", "--report", "DIR", "Write a page about the job, index.html, into this folder",
                &ViewSettings::report, {.paths = Paths::files, .check = may_be_folder}),
        setting(
            "crashReports", "--crash-reports", "DIR",
            "Folder for the plug-in's crash reports (default: corrivane-crashes beside the job file or in "
            "the current folder)",
            &ViewSettings::crash_reports, {.paths = Paths::files, .check = may_be_folder}),
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

void check_complete(const JobSettings& settings) {
    for (const JobSetting& setting : job_setting_table())
        if (setting.is_required && setting.write(settings).is_null())
            throw std::invalid_argument("the job lacks \"" + setting.key +
                                        "\": give it in the job file or with " + setting.flag);
}

JobCommands make_job_commands(const Job& job) {
    JobCommands commands;
    commands.start = command_line(command::start_job, {job.scene, job.camera});
    for (const JobSetting& setting : job_setting_table())
        if (setting.add_commands) setting.add_commands(job, commands);
    const int frame = job.frames.empty() ? 0 : job.frames.front();
    if (const std::string script = element_outputs_script(job.element_outputs); !script.empty())
        commands.element_outputs = script_text_command(frame, script);
    if (job.pre_script) commands.pre_script = script_command(frame, *job.pre_script, false);
    if (job.post_script) commands.post_script = script_command(frame, *job.post_script, false);
    return commands;
}

}  // namespace corrivane::worker
