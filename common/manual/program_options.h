#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace corrivane {

/// An option or a positional argument, as documents show it.
struct ShownOption {
    std::vector<std::string> names;  ///< with their dashes; empty for a positional argument
    std::string positional;
    std::string form;  ///< of its value; empty for a switch
    std::string help;
    bool is_required = false;
    bool is_repeatable = false;

    /// Whether its value is a file or a folder.
    bool takes_path() const;
    /// The values that it takes, where its form lists them: on|off.
    std::vector<std::string> choices() const;
};

/// Those that have a help text, in their order.
std::vector<ShownOption> shown_options(const CLI::App& app);

std::vector<const CLI::App*> commands_of(const CLI::App& app);

}  // namespace corrivane
