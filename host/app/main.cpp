#include "app/describe_scene.h"
#include "app/host_options.h"
#include "app/plugin_library.h"
#include "app/script_globals.h"
#include "core/core.h"
#include "maxscript/runtime.h"
#include "os/end_requests.h"
#include "os/output_files.h"
#include "scripting/names.h"

#include <system/drive_map.h>
#include <system/plain_files.h>

#include <cstdio>
#include <exception>
#include <stdexcept>

namespace {

using namespace corrivane::host;

void map_folders(const HostOptions& options) {
    for (const auto& [letter, folder] : options.drives) {
        map_drive(letter, folder);
    }
    if (!options.network.empty()) {
        map_network(options.network);
    }
    if (!options.log_folder.empty()) {
        map_folder_of_drive('C', "Quillane\\logs", options.log_folder);
    }
}

/// A script without a name. None at all is what a program between a worker and the host makes of it that does not
/// pass its standard input on.
std::string script_from_standard_input() {
    constexpr std::size_t most = std::size_t{16} << 20;
    std::string text;
    char piece[4096];
    while (const std::size_t count = std::fread(piece, 1, sizeof piece, stdin)) {
        text.append(piece, count);
        if (text.size() > most)
            throw std::runtime_error("the script on standard input is larger than 16 MiB");
    }
    if (std::ferror(stdin) != 0) throw std::runtime_error("cannot read standard input");
    if (text.empty()) throw std::runtime_error("there is no script on standard input");
    return text;
}

/// What is no script, or has called a library, ends as any program does.
bool end_running_script() {
    const bool runs = script_runs();
    if (runs) stop_scripts();
    return runs;
}

/// Prints what is wrong with the scripts; true when nothing is.
bool check_scripts(const HostOptions& options) {
    bool sound = true;
    for (const std::string& file : options.check_syntax) {
        for (const SyntaxFault& fault : check_file(file)) {
            std::printf("%s:%d: %s\n", (fault.file.empty() ? file : fault.file).c_str(), fault.line,
                        fault.text.c_str());
            sound = false;
        }
    }
    return sound;
}

void run_script(const HostOptions& options) {
    ScriptResult result{true, ""};
    if (options.execute) {
        result = run_text(*options.execute);
    } else if (options.script == "-") {
        result = run_text(script_from_standard_input());
    } else if (!options.script.empty()) {
        result = run_file(options.script);
    }
    if (!result.succeeded) {
        throw std::runtime_error(result.text);
    }
}

void describe(const std::string& scene_file) {
    Core& core = Core::instance();
    if (core.LoadFromFile(scene_file.c_str(), 0) == 0) {
        throw std::runtime_error("cannot open the scene " + scene_file);
    }
    std::puts(scene_description(core.document()).c_str());
}

/// The exit code.
int run(const HostOptions& options) {
    // The library opens files while it loads, so the drives come first.
    map_folders(options);
    if (options.describe) {
        describe(*options.describe);
        return 0;
    }
    RuntimeOptions runtime_options;
    runtime_options.listener_log = options.listener_log;
    const MaxScriptRuntime runtime(runtime_options);
    if (!options.check_syntax.empty()) return check_scripts(options) ? 0 : 1;
    corrivane::handle_end_requests(end_running_script);
    Core& core = Core::instance();
    core.set_render_threads(options.threads);
    define_script_globals(core, options);
    const PluginLibrary library(options.library.empty() ? default_library() : options.library);
    if (!options.scene_file.empty() && core.LoadFromFile(options.scene_file.c_str(), 0) == 0) {
        throw std::runtime_error("cannot open the scene " + options.scene_file);
    }
    run_script(options);
    return requested_exit_code();
}

/// What has been lost earlier counts too: the Listener passes over it.
void check_output() {
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
        throw std::runtime_error("cannot write to standard output");
    }
}

}  // namespace

int main(int argc, char** argv) {
    fill_standard_descriptors();
    corrivane::keep_running_on_write_errors();
    try {
        int exit_code = 0;
        if (const std::optional<HostOptions> options = read_command_line(argc, argv)) {
            exit_code = run(*options);
        }
        check_output();
        return exit_code;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        // As shells tell of a program that a signal has ended.
        return scripts_are_stopped() ? corrivane::end_request_exit_code() : 1;
    }
}
