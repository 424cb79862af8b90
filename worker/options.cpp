#include "worker/options.h"

#include "worker/frame_list.h"
#include "worker/job_file.h"

#include <system/drive_map.h>

#include <CLI/CLI.hpp>

#include <cctype>
#include <charconv>
#include <filesystem>
#include <iostream>
#include <limits>
#include <set>

namespace corrivane::worker {
namespace {

/// What the options of the command line set, before it is made into an invocation.
struct Values {
    // the job
    std::string scene;
    std::string job_file;
    std::optional<std::string> camera;
    std::optional<std::string> frames;
    std::optional<std::string> output;
    JobOptions options;
    std::optional<std::string> region;
    int region_padding = 0;
    std::optional<std::string> fail_on_black;
    std::vector<std::string> ignore_missing;

    ScriptRun script;

    // the machine
    RunSettings settings;
    std::vector<std::string> drives;
    std::string network;
    std::string library;
    int start_timeout = 60;
    int load_timeout = 600;
    int work_timeout = 3600;
};

/// For names: an empty one would silently stand for none.
const CLI::Validator k_not_empty([](const std::string& text) { return text.empty() ? "is empty" : ""; }, "");

void add_machine_options(CLI::App& command, Values& values) {
    constexpr int year = 31'536'000;
    command
        .add_option("--host", values.settings.host.program,
                    "The host program (default: corrivane-host beside this program)")
        ->type_name("FILE")
        ->check(k_not_empty);
    command
        .add_option("--drive", values.drives,
                    "Folder that stands for a drive (default: C=drive_c); repeatable")
        ->type_name("LETTER=DIR")
        ->allow_extra_args(false);
    command.add_option("--network", values.network, "Folder that stands for the network")
        ->type_name("DIR")
        ->check(k_not_empty);
    command.add_option("--library", values.library, "The plug-in library (default: the host's)")
        ->type_name("FILE");
    command
        .add_option("--start-timeout", values.start_timeout,
                    "Seconds for a host to start and connect (default: 60)")
        ->type_name("S")
        ->check(CLI::Range(1, year));
    command
        .add_option("--frame-timeout", values.work_timeout,
                    "Seconds for a frame or a script, 0 for no limit (default: 3600)")
        ->type_name("S")
        ->check(CLI::Range(0, year));
    command.add_flag("--show-listener", values.settings.show_host_output, "Show what the host prints");
}

void add_job_options(CLI::App& command, Values& values) {
    command.add_option("--camera", values.camera, "Camera to render through (default: the active view)")
        ->type_name("NAME");
    command.add_option("--output", values.output, "Output file name (default: the scene's)")
        ->type_name("NAME")
        ->check(k_not_empty);
    command.add_option("--frame-base", values.options.frame_base, "Number added to the frames in file names")
        ->type_name("N");
    auto* region = command.add_option("--region", values.region, "Part of the image to render, in pixels")
                       ->type_name("L,T,R,B");
    command
        .add_option("--region-padding", values.region_padding,
                    "Pixels rendered around the region and cut off again")
        ->type_name("N")
        ->needs(region);
    command.add_option("--jpeg-preview", values.options.jpeg_preview, "Folder for JPEG previews")
        ->type_name("DIR")
        ->check(k_not_empty);
    command
        .add_option("--fail-on-black", values.fail_on_black,
                    "Fail frames with so many percent of pixels (0 to 100) below a threshold (0 to 1)")
        ->type_name("PERCENT,THRESHOLD");
    command
        .add_option("--ignore-missing", values.ignore_missing,
                    "Load on without these: files, uvws, dlls, xrefs")
        ->type_name("KIND,...")
        ->delimiter(',')
        ->allow_extra_args(false)
        ->check(CLI::IsMember({"files", "uvws", "dlls", "xrefs"}));
    command.add_flag("--restart-renderer", values.options.restart_renderer,
                     "Open the renderer anew for each frame");
    command.add_flag("--hide-frame-buffer", values.options.hide_frame_buffer,
                     "Don't show the frame-buffer window");
    command.add_flag("--remove-padding", values.options.remove_padding,
                     "Don't number the output file; for a job of one frame");
    command.add_flag("--alpha-split", values.options.alpha_split,
                     "Expect the alpha channel in a file of its own");
}

void add_run_options(CLI::App& command, Values& values) {
    command.add_option("--hosts", values.settings.hosts, "Hosts at work at the same time (default: 1)")
        ->type_name("N")
        ->check(CLI::Range(1, 64));
    command
        .add_option("--retries", values.settings.retries,
                    "Further attempts at a frame whose host died or hung (default: 2)")
        ->type_name("N")
        ->check(CLI::Range(0, 100));
    command
        .add_option("--load-timeout", values.load_timeout,
                    "Seconds for a host to load the scene, 0 for no limit (default: 600)")
        ->type_name("S")
        ->check(CLI::Range(0, 31'536'000));
    command.add_flag(
        "--check", values.settings.check_files,
        "A frame counts only when the files it wrote are there and not empty; one that wrote none "
        "(skipped, or the scene saves none) counts unless its file is empty");
}

struct Commands {
    CLI::App* render;
    CLI::App* run;
    CLI::App* script;
};

Commands add_commands(CLI::App& app, Values& values) {
    const char* frames_help = "Frames: a comma list of N, A-B and A-BxSTEP";
    app.require_subcommand(1);

    CLI::App* render = app.add_subcommand("render", "Render frames of a scene");
    render->add_option("scene", values.scene, "The scene file")->required()->type_name("SCENE");
    render->add_option("--frames", values.frames, frames_help)->required()->type_name("LIST");

    CLI::App* run = app.add_subcommand("run", "Run a job file; options replace what it says");
    run->add_option("job", values.job_file, "The job file")->required()->type_name("JOB.json");
    run->add_option("--frames", values.frames, frames_help)->type_name("LIST");

    CLI::App* script = app.add_subcommand("script", "Run a MAXScript file in a host");
    script->add_option("file", values.script.file, "The script file")->required()->type_name("FILE.ms");
    script->add_option("--frame", values.script.frame, "The current frame (default: 0)")->type_name("N");
    script->add_flag("--set-time", values.script.set_time, "Move the scene to the frame's time first");

    for (CLI::App* command : {render, run}) {
        add_job_options(*command, values);
        add_run_options(*command, values);
    }
    for (CLI::App* command : {render, run, script})
        add_machine_options(*command, values);
    return {render, run, script};
}

/// Reads numbers with commas between them; `form` is how the message calls them.
template <typename... Numbers>
void read_numbers(const char* option, const std::string& text, const char* form, Numbers&... numbers) {
    const char* at = text.data();
    const char* const end = at + text.size();
    const auto read = [&](auto& number) {
        const bool separated = at == text.data() || (at != end && *at++ == ',');
        const auto [next, error] = std::from_chars(at, end, number);
        at = next;
        return separated && error == std::errc();
    };
    if (!(read(numbers) && ...) || at != end)
        throw std::invalid_argument(std::string(option) + ": \"" + text + "\" is not of the form " + form);
}

Region read_region(const Values& values) {
    Region region{.padding = values.region_padding};
    read_numbers("--region", *values.region, "L,T,R,B", region.left, region.top, region.right, region.bottom);
    return region;
}

BlackFrameCheck read_black_frame_check(const std::string& text) {
    BlackFrameCheck check;
    read_numbers("--fail-on-black", text, "PERCENT,THRESHOLD", check.percentage, check.threshold);
    return check;
}

/// Sets what the command line gave and leaves the rest as the job file has it.
void apply_options(const Values& values, JobOptions& options) {
    const JobOptions& given = values.options;
    if (given.frame_base) options.frame_base = given.frame_base;
    if (given.jpeg_preview) options.jpeg_preview = given.jpeg_preview;
    if (values.region) options.region = read_region(values);
    if (values.fail_on_black) options.fail_on_black = read_black_frame_check(*values.fail_on_black);
    for (const std::string& kind : values.ignore_missing)
        set_ignore_missing(options.ignore_missing, kind);
    options.restart_renderer |= given.restart_renderer;
    options.hide_frame_buffer |= given.hide_frame_buffer;
    options.remove_padding |= given.remove_padding;
    options.alpha_split |= given.alpha_split;
}

Job make_job(const Values& values) {
    Job job;
    if (!values.job_file.empty()) job = read_job_file(values.job_file);
    if (!values.scene.empty()) job.scene = values.scene;
    if (values.camera) job.camera = *values.camera;
    if (values.frames) job.frames = parse_frame_list(*values.frames);
    if (values.output) job.output = values.output;
    apply_options(values, job.options);
    check_job(job);
    return job;
}

std::chrono::milliseconds time_limit(int seconds) {
    return seconds == 0 ? std::chrono::milliseconds::max() : std::chrono::seconds(seconds);
}

std::string host_beside_worker() {
    return (std::filesystem::read_symlink("/proc/self/exe").parent_path() / "corrivane-host").string();
}

/// What is there has to be a folder; what is not there yet may become one.
void check_folder(const char* option, const std::string& folder) {
    std::error_code ignored;
    if (std::filesystem::exists(folder, ignored) && !std::filesystem::is_directory(folder, ignored))
        throw std::invalid_argument(std::string(option) + ": \"" + folder + "\" is not a folder");
}

/// The same map as the host makes of the same options, and refuses what the host would refuse.
void set_drive_map(const Values& values) {
    clear_drive_map();
    map_drive('C', "drive_c");
    std::set<char> letters;
    for (const std::string& drive : values.drives) {
        if (drive.size() < 3 || drive[1] != '=' || std::isalpha(static_cast<unsigned char>(drive[0])) == 0)
            throw std::invalid_argument("--drive: \"" + drive + "\" is not of the form LETTER=DIR");
        const char letter = static_cast<char>(std::toupper(static_cast<unsigned char>(drive[0])));
        if (!letters.insert(letter).second)
            throw std::invalid_argument(std::string("--drive: drive ") + letter + " is given twice");
        const std::string folder = drive.substr(2);
        check_folder("--drive", folder);
        map_drive(letter, folder);
    }
    if (values.network.empty()) return;
    check_folder("--network", values.network);
    map_network(values.network);
}

RunSettings make_settings(const Values& values) {
    RunSettings settings = values.settings;
    if (settings.host.program.empty()) settings.host.program = host_beside_worker();
    std::vector<std::string>& arguments = settings.host.arguments;
    for (const std::string& drive : values.drives)
        arguments.insert(arguments.end(), {"--drive", drive});
    if (!values.network.empty()) arguments.insert(arguments.end(), {"--network", values.network});
    if (!values.library.empty()) arguments.insert(arguments.end(), {"--library", values.library});
    settings.limits.start = time_limit(values.start_timeout);
    settings.limits.load = time_limit(values.load_timeout);
    settings.limits.work = time_limit(values.work_timeout);
    return settings;
}

/// Where there is a word in place of the command, that word is what is wrong.
CLI::ParseError name_unknown_command(const CLI::App& app, const CLI::RequiredError& error) {
    const std::vector<std::string> words = app.remaining();
    if (words.empty() || !app.get_subcommands().empty()) return error;
    return {"\"" + words.front() + "\" is none of the commands render, run and script",
            CLI::ExitCodes::ExtrasError};
}

}  // namespace

ParsedCommandLine parse_command_line(int argument_count, const char* const* arguments) {
    CLI::App app("Corrivane's reference farm worker: drives hosts of this machine through a job.",
                 "corrivane-worker");
    Values values;
    const Commands commands = add_commands(app, values);
    try {
        app.parse(argument_count, arguments);
    } catch (const CLI::RequiredError& error) {
        app.exit(name_unknown_command(app, error));
        return {std::nullopt, k_usage_exit_code};
    } catch (const CLI::ParseError& error) {
        return {std::nullopt, app.exit(error) == 0 ? 0 : k_usage_exit_code};
    }
    try {
        set_drive_map(values);
        Invocation invocation;
        invocation.settings = make_settings(values);
        if (commands.script->parsed())
            invocation.script = values.script;
        else
            invocation.job = make_job(values);
        return {std::move(invocation), 0};
    } catch (const std::exception& error) {
        std::cerr << "corrivane-worker: " << error.what() << '\n';
        return {std::nullopt, k_usage_exit_code};
    }
}

}  // namespace corrivane::worker
