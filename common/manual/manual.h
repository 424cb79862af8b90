#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace CLI {
class App;
}

// A program's help, manual page and completions, all made from its command line and a few texts.
namespace corrivane {

/// What users of a program should know besides its options. Texts are plain, without markup.
struct Manual {
    using Pairs = std::vector<std::pair<std::string, std::string>>;

    std::string name;     ///< "corrivane-worker"
    std::string version;  ///< "2.7.29981"
    std::string summary;  ///< one line, without a dot
    std::string description;
    Pairs examples;    ///< a command line and what it does
    Pairs exit_codes;  ///< a number and what it means
    Pairs signals;     ///< a name and what it does
    Pairs files;       ///< a name and what is in it
};

/// Gives the program its name, summary and version, puts examples, exit codes and signals below its help, and
/// adds the options --help-man, --help-bash and --help-zsh. To be called before the program parses.
void add_manual(CLI::App& app, const Manual& manual);

/// What one of those options asks for, when it is the only argument; nothing otherwise. They make do without what the
/// program requires, so ask this before parsing, when all options have been added.
std::optional<std::string> manual_asked_for(const CLI::App& app, const Manual& manual, int argument_count,
                                            const char* const* arguments);

/// In the language of man.
std::string manual_page(const CLI::App& app, const Manual& manual);

/// A script that completes commands, options and files.
std::string bash_completion(const CLI::App& app);
std::string zsh_completion(const CLI::App& app);

}  // namespace corrivane
