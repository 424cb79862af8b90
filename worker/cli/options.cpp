#include "worker/cli/options.h"

#include "manual/manual.h"
#include "worker/cli/worker_manual.h"
#include "worker/settings/job_documents.h"
#include "worker/settings/job_file.h"
#include "worker/settings/job_settings.h"
#include "worker/settings/nearest_key.h"

#include <system/drive_map.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <filesystem>
#include <iostream>

namespace corrivane::worker {
namespace {

/// One command of the command line, with its options in the table's order.
struct Command {
    CLI::App* app;
    std::vector<std::pair<const JobSetting*, CLI::Option*>> options;
};

CLI::Option* add_option(CLI::App& app, const std::string& name, const JobSetting& setting) {
    const std::string help = setting.help + " [" + setting.key + ']';
    if (setting.form.empty()) return app.add_flag(name, help);
    CLI::Option* option = app.add_option(name, help)->type_name(setting.form);
    if (setting.is_repeatable) option->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    return option;
}

void add_settings(Command& command, JobSetting::Scope scope) {
    for (const JobSetting& setting : job_setting_table())
        if (setting.scope == scope)
            command.options.emplace_back(&setting, add_option(*command.app, setting.flag, setting));
}

/// What the command line says besides the settings.
struct Words {
    std::string job_file;
    ScriptRun script;
    bool print_job = false;
    bool as_json = false;
};

void add_print_job(CLI::App& app, Words& words) {
    app.add_flag("--print-job", words.print_job, "Write the whole job as a job file, and render nothing");
}

/// The command for a scene, which takes what a job file must hold from the command line.
Command add_render(CLI::App& app, Words& words) {
    Command render{app.add_subcommand("render", "Render frames of a scene"), {}};
    for (const JobSetting& setting : job_setting_table()) {
        const bool is_scene = setting.key == "scene";
        CLI::Option* option = add_option(*render.app, is_scene ? "scene" : setting.flag, setting);
        option->required(setting.is_required);
        render.options.emplace_back(&setting, option);
    }
    add_print_job(*render.app, words);
    return render;
}

Command add_run(CLI::App& app, Words& words) {
    Command run{app.add_subcommand("run", "Run a job file; options replace what it says"), {}};
    run.app->add_option("job", words.job_file, "The job file; - for standard input")
        ->required()
        ->type_name("JOB.json");
    add_settings(run, JobSetting::Scope::job);
    add_settings(run, JobSetting::Scope::hosts);
    add_print_job(*run.app, words);
    return run;
}

Command add_script(CLI::App& app, Words& words) {
    ScriptRun& script = words.script;
    Command command{app.add_subcommand("script", "Run a MAXScript file in a host"), {}};
    command.app->add_option("file", script.file, "The script file")->required()->type_name("FILE.ms");
    command.app->add_option("--frame", script.frame, "The current frame (default: 0)")->type_name("N");
    command.app->add_flag("--set-time", script.set_time, "Move the scene to the frame's time first");
    add_settings(command, JobSetting::Scope::hosts);
    return command;
}

void add_json(CLI::App& app, Words& words) {
    app.add_flag("--json", words.as_json, "Say it as JSON, for programs");
}

Command add_info(CLI::App& app, Words& words) {
    Command info{app.add_subcommand("info", "Tell what a scene holds: cameras, frames, outputs"), {}};
    const auto& table = job_setting_table();
    const JobSetting& scene = *std::ranges::find(table, "scene", &JobSetting::key);
    info.options.emplace_back(&scene, add_option(*info.app, "scene", scene)->required());
    add_settings(info, JobSetting::Scope::hosts);
    add_json(*info.app, words);
    return info;
}

Command add_doctor(CLI::App& app, Words& words) {
    Command doctor{app.add_subcommand("doctor", "Say what would stop hosts, or a job, on this machine"), {}};
    doctor.app->add_option("job", words.job_file, "A job file; - for standard input")->type_name("JOB.json");
    add_settings(doctor, JobSetting::Scope::job);
    add_settings(doctor, JobSetting::Scope::hosts);
    add_json(*doctor.app, words);
    return doctor;
}

/// Sets what the command line gave and leaves the rest as it is.
void apply_options(const Command& command, JobSettings& settings) {
    for (const auto& [setting, option] : command.options) {
        if (option->count() == 0) continue;
        try {
            setting->read_option(option->reduced_results(), settings);
        } catch (const std::invalid_argument& error) {
            throw std::invalid_argument(option->get_name() + ": " + error.what());
        }
    }
}

std::string host_beside_worker() {
    return (std::filesystem::read_symlink("/proc/self/exe").parent_path() / "corrivane-host").string();
}

/// The same map as the host makes of the same folders.
void set_drive_map(const HostSettings& host) {
    clear_drive_map();
    map_drive('C', "drive_c");
    for (const auto& [letter, folder] : host.drives)
        map_drive(letter, folder);
    if (!host.network.empty()) map_network(host.network);
}

/// Beside the job, so that whoever looks for one finds the other.
std::string crash_report_folder(const std::string& job_file) {
    return (std::filesystem::path(job_file).parent_path() / "corrivane-crashes").string();
}

/// What is missing of a job, and what can be seen of it without the scene.
void check_settings(JobSettings& settings) {
    check_complete(settings);
    if (settings.frames.needs_scene()) return;
    settings.job.frames = settings.frames.frames();
    check_job(settings.job);
}

Invocation make_invocation(const Command& command, const Words& words) {
    const std::string& name = command.app->get_name();
    Invocation invocation;
    invocation.script = words.script;
    invocation.as_json = words.as_json;
    JobSettings& settings = invocation.settings;
    if (!words.job_file.empty()) settings = read_job_file(words.job_file);
    apply_options(command, settings);
    HostSettings& host = settings.run.host;
    if (host.program.empty()) host.program = host_beside_worker();
    set_drive_map(host);
    ViewSettings& views = settings.run.views;
    if (views.crash_reports.empty()) views.crash_reports = crash_report_folder(words.job_file);
    if (name == "script") invocation.task = Invocation::Task::script;
    if (name == "info") invocation.task = Invocation::Task::info;
    if (name == "doctor") invocation.task = Invocation::Task::doctor;
    const bool has_job = invocation.task == Invocation::Task::job ||
                         (invocation.task == Invocation::Task::doctor &&
                          (!words.job_file.empty() || !settings.job.scene.empty()));
    if (has_job) check_settings(settings);
    return invocation;
}

/// The manual, a completion, the job file's schema or its keys, when the only argument asks for that.
std::optional<std::string> document_asked_for(const CLI::App& app, int argument_count,
                                              const char* const* arguments) {
    const std::string_view asked = argument_count == 2 ? arguments[1] : "";
    if (asked == "--help-schema") return job_schema_text();
    if (asked == "--help-keys") return job_key_table();
    return manual_asked_for(app, worker_manual(), argument_count, arguments);
}

/// Where there is a word in place of the command, that word is what is wrong.
CLI::ParseError name_unknown_command(const CLI::App& app, const CLI::RequiredError& error) {
    const std::vector<std::string> words = app.remaining();
    if (words.empty() || !app.get_subcommands().empty()) return error;
    return {"\"" + words.front() + "\" is none of the commands render, run, script, info and doctor",
            CLI::ExitCodes::ExtrasError};
}

/// Names the options that unknown ones may have been meant for.
void suggest_options(const CLI::App& app) {
    std::vector<std::string> flags;
    for (const JobSetting& setting : job_setting_table())
        flags.push_back(setting.flag);
    for (const std::string& word : app.remaining(true)) {
        const std::string flag =
            word.starts_with("--") ? nearest_name(word.substr(0, word.find('=')), flags) : "";
        if (!flag.empty()) std::cerr << "Did you mean " << flag << "?\n";
    }
}

}  // namespace

ParsedCommandLine parse_command_line(int argument_count, const char* const* arguments) {
    CLI::App app;
    app.require_subcommand(1);
    app.footer("In a job file an option has the key that is shown in [brackets].\n");
    add_manual(app, worker_manual());
    app.add_flag("--help-schema")->description("Print a JSON schema of job files");
    app.add_flag("--help-keys")->description("Print the keys of job files as a table in Markdown");
    Words words;
    const Command commands[] = {add_render(app, words), add_run(app, words), add_script(app, words),
                                add_info(app, words), add_doctor(app, words)};
    if (const auto text = document_asked_for(app, argument_count, arguments)) {
        std::cout << *text;
        return {std::nullopt, 0};
    }
    try {
        app.parse(argument_count, arguments);
    } catch (const CLI::RequiredError& error) {
        app.exit(name_unknown_command(app, error));
        return {std::nullopt, usage_exit_code};
    } catch (const CLI::ParseError& error) {
        const bool is_answer = app.exit(error) == 0;
        if (!is_answer) suggest_options(app);
        return {std::nullopt, is_answer ? 0 : usage_exit_code};
    }
    try {
        const Command& command =
            *std::ranges::find_if(commands, [](const Command& one) { return one.app->parsed(); });
        Invocation invocation = make_invocation(command, words);
        if (!words.print_job) return {std::move(invocation), 0};
        std::cout << job_file_text(invocation.settings);
        return {std::nullopt, 0};
    } catch (const std::exception& error) {
        std::cerr << "corrivane-worker: " << error.what() << '\n';
        return {std::nullopt, usage_exit_code};
    }
}

}  // namespace corrivane::worker
