#include "manual/manual.h"
#include "manual/program_options.h"

#include <algorithm>
#include <cctype>

namespace corrivane {

namespace {

/// Text as roff takes it: backslashes and minus signs are not its own, and no line begins with one of its commands.
std::string roff(std::string_view text) {
    std::string line;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool begins_line = i == 0 || text[i - 1] == '\n';
        if (begins_line && (text[i] == '.' || text[i] == '\'')) line += "\\&";
        if (text[i] == '\\')
            line += "\\e";
        else if (text[i] == '-')
            line += "\\-";
        else
            line += text[i];
    }
    return line;
}

std::string upper(std::string text) {
    std::ranges::transform(text, text.begin(),
                           [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return text;
}

std::string bold(std::string_view text) {
    return "\\fB" + roff(text) + "\\fR";
}

std::string italic(std::string_view text) {
    return "\\fI" + roff(text) + "\\fR";
}

std::string entry(const std::string& label, const std::string& text) {
    return ".TP\n" + label + '\n' + roff(text) + '\n';
}

std::string option_entry(const ShownOption& option) {
    std::string label;
    for (const std::string& name : option.names)
        label += (label.empty() ? "" : ", ") + bold(name);
    if (label.empty()) label = italic(option.positional);
    if (!option.form.empty() && !option.names.empty()) label += ' ' + italic(option.form);
    return entry(label, option.help);
}

std::string option_entries(const CLI::App& app) {
    std::string text;
    for (const ShownOption& option : shown_options(app))
        text += option_entry(option);
    return text;
}

std::string synopsis(const CLI::App& app, const std::string& program) {
    std::string line = bold(program);
    if (app.get_name() != program) line += ' ' + bold(app.get_name());
    for (const ShownOption& option : shown_options(app))
        if (option.names.empty())
            line += ' ' + std::string(option.is_required ? "" : "[") + italic(option.positional) +
                    (option.is_required ? "" : "]");
        else if (option.is_required)
            line += ' ' + bold(option.names.back()) + ' ' + italic(option.form);
    return line + " [" + italic("options") + "]\n";
}

std::string pairs_section(const char* title, const Manual::Pairs& pairs) {
    if (pairs.empty()) return "";
    std::string text = std::string(".SH ") + title + '\n';
    for (const auto& [name, meaning] : pairs)
        text += entry(bold(name), meaning);
    return text;
}

std::string command_sections(const CLI::App& app, const std::string& program) {
    std::string text;
    for (const CLI::App* command : commands_of(app)) {
        text += ".SS " + roff(program + ' ' + command->get_name()) + '\n';
        text += roff(command->get_description()) + ".\n" + option_entries(*command);
    }
    return text.empty() ? "" : ".SH COMMANDS\n" + text;
}

}  // namespace

std::string manual_page(const CLI::App& app, const Manual& manual) {
    std::string page = ".TH " + upper(manual.name) + " 1 \"\" \"Corrivane " + manual.version + "\"\n";
    page += ".SH NAME\n" + roff(manual.name) + " \\- " + roff(manual.summary) + '\n';
    page += ".SH SYNOPSIS\n";
    const auto commands = commands_of(app);
    for (const CLI::App* command : commands)
        page += synopsis(*command, manual.name) + ".br\n";
    if (commands.empty()) page += synopsis(app, manual.name);
    page += ".SH DESCRIPTION\n" + roff(manual.description) + '\n';
    page += ".SH OPTIONS\n" + option_entries(app);
    page += command_sections(app, manual.name);
    page += pairs_section("EXAMPLES", manual.examples);
    page += pairs_section("EXIT STATUS", manual.exit_codes);
    page += pairs_section("SIGNALS", manual.signals);
    page += pairs_section("FILES", manual.files);
    return page;
}

}  // namespace corrivane
