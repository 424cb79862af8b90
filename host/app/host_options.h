#pragma once

#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

namespace corrivane::host {

/// What the command line asks for.
struct HostOptions {
    /// Folders of this machine by drive letter in upper case; C is always among them.
    std::map<char, std::string> drives;
    std::string network;     ///< folder that stands for the network; empty for none
    std::string log_folder;  ///< folder that stands for C:\Quillane\logs; empty for the one on drive C
    int threads = 0;         ///< that render; 0: one for each processor
    std::string library;     ///< file of this machine; empty for the one beside the program
    std::string scene_file;  ///< Windows path; empty for none
    /// A scene to describe in place of all that needs the library; Windows path.
    std::optional<std::string> describe;
    std::map<std::string, std::variant<int, std::string>> script_arguments;  ///< maxOps.mxsCmdLineArgs
    std::string listener_log;               ///< file of this machine; empty for none
    std::optional<std::string> execute;     ///< text to run
    std::vector<std::string> check_syntax;  ///< Windows paths of scripts that are compiled and not run
    std::string script;  ///< Windows path of the script to run, "-" for standard input; empty for none
};

/// A command line that cannot be followed. The text says which argument, and what would be right.
class CommandLineError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Reads the command line; nothing when it asked for the help text or the version, which has then been
/// printed to standard output. Throws CommandLineError.
std::optional<HostOptions> read_command_line(int argc, const char* const* argv);

}  // namespace corrivane::host
