#include "manual/program_options.h"

#include "manual/manual.h"

#include <algorithm>
#include <sstream>
#include <string_view>

namespace corrivane {

namespace {

struct Document {
    const char* option;
    const char* help;
    std::string (*make)(const CLI::App& app, const Manual& manual);
};

const Document documents[] = {
    {"--help-man", "Print the manual page", manual_page},
    {"--help-bash", "Print the completion for bash",
     [](const CLI::App& app, const Manual&) { return bash_completion(app); }},
    {"--help-zsh", "Print the completion for zsh",
     [](const CLI::App& app, const Manual&) { return zsh_completion(app); }},
};

std::string pairs_text(const char* title, const Manual::Pairs& pairs, std::size_t width) {
    if (pairs.empty()) return "";
    std::string text = std::string("\n") + title + ":\n";
    for (const auto& [name, meaning] : pairs) {
        std::string label = "  " + name;
        if (width == 0)
            text += label + "\n      " + meaning + '\n';
        else
            label.resize(std::max(label.size() + 2, width), ' '), text += label + meaning + '\n';
    }
    return text;
}

}  // namespace

bool ShownOption::takes_path() const {
    for (const std::string_view word : {"FILE", "DIR", "JOB", "SCENE", "SCRIPT"})
        if (form.find(word) != std::string::npos || positional.find(word) != std::string::npos) return true;
    return false;
}

std::vector<std::string> ShownOption::choices() const {
    std::vector<std::string> values;
    if (form.find('|') == std::string::npos) return values;
    std::istringstream words(form);
    for (std::string word; std::getline(words, word, '|');)
        values.push_back(word);
    return values;
}

std::vector<ShownOption> shown_options(const CLI::App& app) {
    std::vector<ShownOption> shown;
    for (const CLI::Option* option : app.get_options()) {
        if (option->get_group().empty() || option->get_description().empty()) continue;
        ShownOption& one = shown.emplace_back();
        for (const std::string& name : option->get_snames())
            one.names.push_back('-' + name);
        for (const std::string& name : option->get_lnames())
            one.names.push_back("--" + name);
        if (one.names.empty()) one.positional = option->get_name(true);
        const bool is_switch = option->get_expected_max() == 0 || option->get_type_size_max() == 0;
        if (!is_switch) one.form = option->get_type_name();
        one.help = option->get_description();
        one.is_required = option->get_required();
        one.is_repeatable = option->get_multi_option_policy() == CLI::MultiOptionPolicy::TakeAll;
    }
    return shown;
}

std::vector<const CLI::App*> commands_of(const CLI::App& app) {
    return app.get_subcommands([](const CLI::App*) { return true; });
}

void add_manual(CLI::App& app, const Manual& manual) {
    app.name(manual.name);
    app.description(manual.description);
    app.set_version_flag("-V,--version", manual.name + ' ' + manual.version, "Print the version");
    for (const Document& document : documents)
        app.add_flag(document.option)->description(document.help);
    constexpr std::size_t width = 16;
    app.footer(app.get_footer() + pairs_text("Examples", manual.examples, 0) +
               pairs_text("Exit codes", manual.exit_codes, width) +
               pairs_text("Signals", manual.signals, width));
}

std::optional<std::string> manual_asked_for(const CLI::App& app, const Manual& manual, int argument_count,
                                            const char* const* arguments) {
    if (argument_count != 2) return std::nullopt;
    for (const Document& document : documents)
        if (std::string_view(arguments[1]) == document.option) return document.make(app, manual);
    return std::nullopt;
}

}  // namespace corrivane
