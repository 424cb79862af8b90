#include "app/host_options.h"

#include "manual/manual.h"

#include <system/drive_map.h>

#include <CLI/CLI.hpp>
#include <corrivane_version.h>

#include <cctype>
#include <charconv>
#include <filesystem>
#include <iostream>
#include <utility>
#include <vector>

namespace corrivane::host {

namespace {

constexpr int most_threads = 1024;

/// What the options are given as, before their parts are told apart.
struct RawOptions {
    std::vector<std::string> drives;
    std::vector<std::string> strings;
    std::vector<std::string> integers;
    std::string execute;
    std::string describe;
};

std::string checked_folder(const std::string& option, const std::string& folder) {
    std::error_code ignored;
    if (folder.empty()) {
        throw CommandLineError(option + ": the folder's name is missing");
    }
    if (std::filesystem::exists(folder, ignored) && !std::filesystem::is_directory(folder, ignored)) {
        throw CommandLineError(option + ": \"" + folder + "\" is not a folder");
    }
    return folder;
}

const Manual& host_manual() {
    static const Manual manual{
        .name = "corrivane-host",
        .version = CORRIVANE_VERSION,
        .summary = "run a render plug-in and its scripts without 3ds Max",
        .description = "Runs a render plug-in and its scripts without 3ds Max.",
        .examples = {{"corrivane-host --drive C=project --scene-file 'C:\\scene.gltf' script.ms",
                      "Open a scene and run a script. Paths with backslashes stand in quotes."},
                     {"corrivane-host --execute 'print (QuillaneUtil.RunCorrivaneDaemon 4000 \"token\")'",
                      "Serve the farm's worker that listens on a port."},
                     {"corrivane-host --describe scene.gltf", "Tell what a scene holds."}},
        .exit_codes = {{"0", "done"}, {"1", "an error, which stands on standard error"}},
        .signals = {},
        .files = {{"drive_c",
                   "the folder in the current one that stands for drive C unless --drive says otherwise"},
                  {"C:\\Quillane\\logs", "the folder of the plug-in's log, which is written if it is there"}},
    };
    return manual;
}

/// Splits at the first separator; both parts but the value may not be empty.
std::pair<std::string, std::string> split(const std::string& option, const std::string& text, char separator,
                                          const char* form) {
    const std::size_t position = text.find(separator);
    if (position == 0 || position == std::string::npos) {
        throw CommandLineError(option + ": \"" + text + "\" does not have the form " + form);
    }
    return {text.substr(0, position), text.substr(position + 1)};
}

void add_drive(HostOptions& options, const std::string& text) {
    const auto [letter, folder] = split("--drive", text, '=', "LETTER=DIR");
    if (letter.size() != 1 || std::isalpha(static_cast<unsigned char>(letter[0])) == 0) {
        throw CommandLineError("--drive: \"" + letter + "\" is not a drive letter");
    }
    const char drive = static_cast<char>(std::toupper(static_cast<unsigned char>(letter[0])));
    if (!options.drives.emplace(drive, checked_folder("--drive", folder)).second) {
        throw CommandLineError(std::string("--drive: drive ") + drive + " is given twice");
    }
}

int parsed_integer(const std::string& key, const std::string& text) {
    int number = 0;
    const char* end = text.data() + text.size();
    const auto [stopped, fault] = std::from_chars(text.data(), end, number);
    if (fault != std::errc() || stopped != end) {
        throw CommandLineError("--mxs-int: the value of " + key + ", \"" + text +
                               "\", is not a 32-bit integer");
    }
    return number;
}

void add_script_argument(HostOptions& options, const char* option, const std::string& key,
                         std::variant<int, std::string> value) {
    if (!options.script_arguments.emplace(key, std::move(value)).second) {
        throw CommandLineError(std::string(option) + ": " + key + " is given twice");
    }
}

void add_script_arguments(HostOptions& options, const RawOptions& raw) {
    for (const std::string& text : raw.strings) {
        auto [key, value] = split("--mxs-string", text, ':', "KEY:VALUE");
        add_script_argument(options, "--mxs-string", key, std::move(value));
    }
    for (const std::string& text : raw.integers) {
        const auto [key, value] = split("--mxs-int", text, ':', "KEY:VALUE");
        add_script_argument(options, "--mxs-int", key, parsed_integer(key, value));
    }
}

void describe(CLI::App& app, HostOptions& options, RawOptions& raw) {
    // An option that may be repeated still takes one value each time, so that the script's name stays
    // the script's.
    const auto repeated = [&app](const char* name, std::vector<std::string>& values, const char* form,
                                 const char* help) {
        app.add_option(name, values, help)->type_name(form)->allow_extra_args(false);
    };
    repeated("--drive", raw.drives, "LETTER=DIR",
             "Let a folder stand for a drive (C: drive_c in the current folder)");
    app.add_option("--network", options.network, "Let a folder stand for the network")->type_name("DIR");
    app.add_option("--log-folder", options.log_folder,
                   "Let a folder stand for C:\\Quillane\\logs, where the plug-in keeps its log")
        ->type_name("DIR");
    app.add_option("--threads", options.threads, "Threads that render (one for each processor)")
        ->type_name("N")
        ->check(CLI::Range(1, most_threads));
    app.add_option("--library", options.library, "The plug-in to load (corrivane.dlx beside this program)")
        ->type_name("FILE");
    app.add_option("--scene-file", options.scene_file, "A scene to open first")->type_name("FILE");
    app.add_option("--describe", raw.describe, "Tell as JSON what a scene holds, on standard output, and end")
        ->type_name("FILE");
    repeated("--mxs-string", raw.strings, "KEY:VALUE", "A text for maxOps.mxsCmdLineArgs");
    repeated("--mxs-int", raw.integers, "KEY:VALUE", "An integer for maxOps.mxsCmdLineArgs");
    app.add_option("--listener-log", options.listener_log, "A file that receives the Listener's text too")
        ->type_name("FILE");
    CLI::Option* execute =
        app.add_option("--execute", raw.execute, "MAXScript text to run")->type_name("TEXT");
    CLI::Option* check =
        app.add_option("--check-syntax", options.check_syntax,
                       "Scripts to compile without running them; prints FILE:LINE: TEXT for each error")
            ->type_name("FILE...")
            ->excludes(execute);
    app.add_option("SCRIPT.ms", options.script, "A MAXScript file to run; - for standard input")
        ->type_name("")
        ->excludes(execute)
        ->excludes(check);
}

}  // namespace

std::optional<HostOptions> read_command_line(int argc, const char* const* argv) {
    HostOptions options;
    RawOptions raw;
    CLI::App app;
    add_manual(app, host_manual());
    // A path may begin with a slash on every system.
    app.allow_windows_style_options(false);
    describe(app, options, raw);
    if (const auto text = manual_asked_for(app, host_manual(), argc, argv)) {
        std::cout << *text;
        return std::nullopt;
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp&) {
        std::cout << app.help();
        return std::nullopt;
    } catch (const CLI::CallForVersion& version) {
        std::cout << version.what() << '\n';
        return std::nullopt;
    } catch (const CLI::ParseError& error) {
        throw CommandLineError(error.what());
    }
    for (const std::string& text : raw.drives) {
        add_drive(options, text);
    }
    if (drives_are_mapped()) options.drives.emplace('C', "drive_c");
    if (app.count("--network") > 0) {
        checked_folder("--network", options.network);
    }
    if (app.count("--log-folder") > 0) {
        checked_folder("--log-folder", options.log_folder);
    }
    if (app.count("--execute") > 0) {
        options.execute = raw.execute;
    } else if (app.count("SCRIPT.ms") > 0 && options.script.empty()) {
        throw CommandLineError("SCRIPT.ms: the file's name is empty");
    }
    if (app.count("--describe") > 0) {
        options.describe = raw.describe;
    }
    add_script_arguments(options, raw);
    return options;
}

}  // namespace corrivane::host
