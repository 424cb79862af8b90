#include "manual/manual.h"
#include "manual/program_options.h"

#include <algorithm>

namespace corrivane {

namespace {

std::string joined(const std::vector<std::string>& words, const char* separator) {
    std::string text;
    for (const std::string& word : words)
        text += (text.empty() ? "" : separator) + word;
    return text;
}

std::string function_name(std::string name) {
    std::ranges::replace(name, '-', '_');
    return '_' + name;
}

std::vector<std::string> option_names(const CLI::App& app) {
    std::vector<std::string> names;
    for (const ShownOption& option : shown_options(app))
        names.insert(names.end(), option.names.begin(), option.names.end());
    return names;
}

std::vector<std::string> command_names(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::App* command : commands_of(app))
        names.push_back(command->get_name());
    return names;
}

/// The options of the program and its commands that take a value.
std::vector<ShownOption> valued_options(const CLI::App& app) {
    std::vector<ShownOption> valued;
    std::vector<const CLI::App*> apps = commands_of(app);
    apps.push_back(&app);
    for (const CLI::App* one : apps)
        for (ShownOption& option : shown_options(*one)) {
            const auto same = [&](const ShownOption& other) { return other.names == option.names; };
            if (!option.names.empty() && !option.form.empty() && std::ranges::none_of(valued, same))
                valued.push_back(std::move(option));
        }
    return valued;
}

/// What bash is offered for the value behind an option.
std::string bash_value_cases(const CLI::App& app) {
    std::string cases;
    for (const ShownOption& option : valued_options(app)) {
        cases += "        " + joined(option.names, "|") + ") ";
        if (!option.choices().empty())
            cases += "COMPREPLY=($(compgen -W '" + joined(option.choices(), " ") + "' -- \"$word\")); ";
        else if (option.takes_path())
            cases += "compopt -o filenames; COMPREPLY=($(compgen -f -- \"$word\")); ";
        cases += "return ;;\n";
    }
    return cases;
}

std::string bash_command_cases(const CLI::App& app) {
    std::string cases;
    for (const CLI::App* command : commands_of(app))
        cases +=
            "        " + command->get_name() + ") words='" + joined(option_names(*command), " ") + "' ;;\n";
    const std::vector<std::string> names = command_names(app);
    return cases + "        *) words='" + joined(option_names(app), " ") +
           (names.empty() ? "" : ' ' + joined(names, " ")) + "' ;;\n";
}

/// A text in the single quotes of a zsh specification.
std::string zsh_text(std::string_view text) {
    std::string escaped;
    for (const char c : text) {
        if (c == '\'')
            escaped += "'\\''";
        else if (c == '[' || c == ']' || c == ':' || c == '\\')
            escaped += {'\\', c};
        else
            escaped += c;
    }
    return escaped;
}

std::string zsh_value(const ShownOption& option) {
    if (!option.choices().empty()) return ":value:(" + joined(option.choices(), " ") + ')';
    return option.takes_path() ? ":file:_files" : ":value: ";
}

std::string zsh_arguments(const CLI::App& app) {
    std::string arguments;
    for (const ShownOption& option : shown_options(app)) {
        if (option.names.empty()) {
            arguments += " \\\n        '" + std::string(option.is_required ? "" : ":") + ":" +
                         zsh_text(option.positional) + ":_files'";
            continue;
        }
        for (const std::string& name : option.names)
            arguments += " \\\n        '" + std::string(option.is_repeatable ? "*" : "") + name + '[' +
                         zsh_text(option.help) + ']' + (option.form.empty() ? "" : zsh_value(option)) + '\'';
    }
    return arguments;
}

}  // namespace

std::string bash_completion(const CLI::App& app) {
    const std::string program = app.get_name();
    const std::string function = function_name(program);
    const bool has_commands = !commands_of(app).empty();
    return "# bash completion for " + program + "\n" + function +
           "() {\n    local word=${COMP_WORDS[COMP_CWORD]} words\n    COMPREPLY=()\n"
           "    case ${COMP_WORDS[COMP_CWORD-1]} in\n"
           "        =) compopt -o filenames; COMPREPLY=($(compgen -f -- \"$word\")); return ;;\n" +
           bash_value_cases(app) + "    esac\n    case ${COMP_WORDS[1]} in\n" + bash_command_cases(app) +
           "    esac\n"
           "    COMPREPLY=($(compgen -W \"$words\" -- \"$word\"))\n" +
           (has_commands ? "    ((COMP_CWORD > 1)) || return\n" : "") +
           "    [[ $word == -* || ${#COMPREPLY[@]} -gt 0 && -n $word ]] && return\n"
           "    compopt -o filenames\n    COMPREPLY=($(compgen -f -- \"$word\"))\n}\ncomplete -F " +
           function + ' ' + program + '\n';
}

std::string zsh_completion(const CLI::App& app) {
    const std::string program = app.get_name();
    std::string text = "#compdef " + program + "\n\n";
    const auto commands = commands_of(app);
    if (commands.empty()) return text + "_arguments" + zsh_arguments(app) + '\n';
    text += "local -a commands=(\n";
    for (const CLI::App* command : commands)
        text += "    '" + command->get_name() + ':' + zsh_text(command->get_description()) + "'\n";
    text +=
        ")\nif ((CURRENT == 2)) && [[ ${words[2]} != -* ]]; then\n    _describe command commands\n    "
        "return\nfi\n"
        "local command=${words[2]}\n((CURRENT > 2)) && { shift words; ((CURRENT--)); }\ncase $command in\n";
    for (const CLI::App* command : commands)
        text += "    " + command->get_name() + ") _arguments" + zsh_arguments(*command) + " ;;\n";
    return text + "    *) _arguments" + zsh_arguments(app) + " ;;\nesac\n";
}

}  // namespace corrivane
