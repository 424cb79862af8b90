#include "worker/cli/options.h"

#include "worker/settings/job_file.h"
#include "worker/settings/job_settings.h"

#include <system/drive_map.h>

#include <CLI/CLI.hpp>
#include <corrivane_version.h>

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

/// The command for a scene, which takes what a job file must hold from the command line.
Command add_render(CLI::App& app) {
    Command render{app.add_subcommand("render", "Render frames of a scene"), {}};
    for (const JobSetting& setting : job_setting_table()) {
        const bool is_scene = setting.key == "scene";
        CLI::Option* option = add_option(*render.app, is_scene ? "scene" : setting.flag, setting);
        option->required(setting.is_required);
        render.options.emplace_back(&setting, option);
    }
    return render;
}

Command add_run(CLI::App& app, std::string& job_file) {
    Command run{app.add_subcommand("run", "Run a job file; options replace what it says"), {}};
    run.app->add_option("job", job_file, "The job file")->required()->type_name("JOB.json");
    add_settings(run, JobSetting::Scope::job);
    add_settings(run, JobSetting::Scope::hosts);
    return run;
}

Command add_script(CLI::App& app, ScriptRun& script) {
    Command command{app.add_subcommand("script", "Run a MAXScript file in a host"), {}};
    command.app->add_option("file", script.file, "The script file")->required()->type_name("FILE.ms");
    command.app->add_option("--frame", script.frame, "The current frame (default: 0)")->type_name("N");
    command.app->add_flag("--set-time", script.set_time, "Move the scene to the frame's time first");
    add_settings(command, JobSetting::Scope::hosts);
    return command;
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

Invocation make_invocation(const Command& command, const std::string& job_file, const ScriptRun& script) {
    JobSettings settings;
    if (!job_file.empty()) settings = read_job_file(job_file);
    apply_options(command, settings);
    HostSettings& host = settings.run.host;
    if (host.program.empty()) host.program = host_beside_worker();
    set_drive_map(host);
    ViewSettings& views = settings.run.views;
    if (views.crash_reports.empty()) views.crash_reports = crash_report_folder(job_file);
    if (command.app->get_name() == "script") return {std::nullopt, script, std::move(settings.run)};
    check_job(settings.job);
    return {std::move(settings.job), std::nullopt, std::move(settings.run)};
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
    app.set_version_flag("-V,--version", "corrivane-worker " CORRIVANE_VERSION);
    app.require_subcommand(1);
    app.footer("In a job file an option has the key that is shown in [brackets].");
    std::string job_file;
    ScriptRun script;
    const Command commands[] = {add_render(app), add_run(app, job_file), add_script(app, script)};
    try {
        app.parse(argument_count, arguments);
    } catch (const CLI::RequiredError& error) {
        app.exit(name_unknown_command(app, error));
        return {std::nullopt, usage_exit_code};
    } catch (const CLI::ParseError& error) {
        return {std::nullopt, app.exit(error) == 0 ? 0 : usage_exit_code};
    }
    try {
        const Command& command =
            *std::ranges::find_if(commands, [](const Command& one) { return one.app->parsed(); });
        return {make_invocation(command, job_file, script), 0};
    } catch (const std::exception& error) {
        std::cerr << "corrivane-worker: " << error.what() << '\n';
        return {std::nullopt, usage_exit_code};
    }
}

}  // namespace corrivane::worker
