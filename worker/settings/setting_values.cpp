#include "worker/settings/setting_values.h"

#include "net/farm_protocol.h"
#include "worker/job/command_line_text.h"

#include <boost/algorithm/string/split.hpp>
#include <boost/lexical_cast.hpp>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <limits>
#include <set>
#include <stdexcept>
#include <string_view>

namespace corrivane::worker {
namespace {

/// Reads numbers with commas between them; `form` is how the message calls them.
template <typename... Numbers>
void read_numbers(const std::string& text, const char* form, Numbers&... numbers) {
    const char* at = text.data();
    const char* const end = at + text.size();
    const auto read = [&](auto& number) {
        const bool separated = at == text.data() || (at != end && *at++ == ',');
        const auto [next, error] = std::from_chars(at, end, number);
        at = next;
        return separated && error == std::errc();
    };
    if (!(read(numbers) && ...) || at != end)
        throw std::invalid_argument('"' + text + "\" is not of the form " + form);
}

/// KEY=VALUE; the key must not be empty.
std::pair<std::string, std::string> read_pair(const std::string& text, const char* form) {
    const auto sign = text.find('=');
    if (sign == std::string::npos || sign == 0)
        throw std::invalid_argument('"' + text + "\" is not of the form " + form);
    return {text.substr(0, sign), text.substr(sign + 1)};
}

/// What goes on as a zero-terminated text.
std::string text_of(const json::Value& value) {
    std::string text(value.text());
    if (text.find('\0') != std::string::npos) value.fail("holds a NUL character");
    return text;
}

/// A text, or a number or boolean as JSON writes it.
std::string scalar_of(const json::Value& value) {
    if (value.is_string()) return text_of(value);
    if (value.is_number()) return value.number_text();
    if (!value.is_boolean()) value.refuse("a string, a number or a boolean");
    return value.boolean() ? "true" : "false";
}

int integer_of(const json::Value& value) {
    return static_cast<int>(value.whole(std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

/// Reads an object whose keys are known: `read` returns false for a key that is not. `required` must
/// be there.
template <typename Read>
void read_object(const json::Value& object, const std::vector<const char*>& required, const Read& read) {
    std::set<std::string> seen;
    for (const auto& [key, member] : object.members()) {
        if (!read(key, member)) member.fail("is not a key that is known here");
        seen.insert(std::string(key));
    }
    for (const char* key : required)
        if (!seen.contains(key)) object.at(key);
}

struct MissingKind {
    const char* name;
    bool IgnoreMissing::*field;
    std::string_view command;
};

constexpr MissingKind missing_kinds[] = {
    {"files", &IgnoreMissing::files, command::ignore_missing_external_files},
    {"uvws", &IgnoreMissing::uvws, command::ignore_missing_uvws},
    {"dlls", &IgnoreMissing::dlls, command::ignore_missing_dlls},
    {"xrefs", &IgnoreMissing::xrefs, command::ignore_missing_xrefs},
};

bool set_ignore_missing(IgnoreMissing& ignore, std::string_view name) {
    for (const MissingKind& kind : missing_kinds)
        if (name == kind.name) return ignore.*kind.field = true;
    return false;
}

const std::map<std::string, ViewSettings::Progress> progress_kinds = {
    {"auto", ViewSettings::Progress::automatic},
    {"bar", ViewSettings::Progress::bar},
    {"farm", ViewSettings::Progress::farm},
    {"lines", ViewSettings::Progress::lines},
    {"none", ViewSettings::Progress::none}};

ViewSettings::Progress progress_named(const std::string& name) {
    const auto kind = progress_kinds.find(name);
    if (kind == progress_kinds.end())
        throw std::invalid_argument('"' + name + "\" is none of auto, bar, farm, lines, none");
    return kind->second;
}

/// Enters the folder of a drive. Throws std::invalid_argument for what is no letter and for a letter that
/// comes again.
void add_drive(std::map<char, std::string>& drives, const std::string& letter, const std::string& folder) {
    if (letter.size() != 1 || std::isalpha(static_cast<unsigned char>(letter[0])) == 0)
        throw std::invalid_argument('"' + letter + "\" is not the letter of a drive");
    const char drive = static_cast<char>(std::toupper(static_cast<unsigned char>(letter[0])));
    if (folder.empty()) throw std::invalid_argument(std::string("drive ") + drive + " has no folder");
    if (!drives.emplace(drive, folder).second)
        throw std::invalid_argument(std::string("drive ") + drive + " is given twice");
}

template <typename Key, typename Entry>
void replace_entries(std::map<Key, Entry>& value, std::map<Key, Entry> entries) {
    entries.merge(value);
    value = std::move(entries);
}

std::chrono::milliseconds time_limit(int seconds) {
    if (seconds < 0) throw std::invalid_argument("must not be negative");
    return seconds == 0 ? std::chrono::milliseconds::max() : std::chrono::seconds(seconds);
}

}  // namespace

void read_value(const json::Value& source, bool& value) {
    value = source.boolean();
}

void read_value(const OptionTexts& texts, bool& value) {
    const std::string& text = texts.front();
    if (text != "true" && text != "false" && text != "on" && text != "off")
        throw std::invalid_argument('"' + text + "\" is neither true nor false, on nor off");
    value = text == "true" || text == "on";
}

void read_value(const json::Value& source, int& value) {
    value = integer_of(source);
}

void read_value(const OptionTexts& texts, int& value) {
    read_numbers(texts.front(), "N, an integer of 32 bits", value);
}

void read_value(const json::Value& source, std::string& value) {
    value = text_of(source);
}

void read_value(const OptionTexts& texts, std::string& value) {
    value = texts.front();
}

void read_value(const json::Value& source, std::chrono::milliseconds& value) {
    value = time_limit(integer_of(source));
}

void read_value(const OptionTexts& texts, std::chrono::milliseconds& value) {
    int seconds = 0;
    read_value(texts, seconds);
    value = time_limit(seconds);
}

void read_value(const json::Value& source, std::vector<std::string>& value) {
    value.clear();
    for (const json::Value element : source.elements())
        value.push_back(text_of(element));
}

void read_value(const OptionTexts& texts, std::vector<std::string>& value) {
    value = texts;
}

void read_value(const json::Value& source, std::map<std::string, std::string>& value) {
    for (const auto& [key, entry] : source.members())
        value[std::string(key)] = scalar_of(entry);
}

void read_value(const OptionTexts& texts, std::map<std::string, std::string>& value) {
    for (const std::string& text : texts) {
        const auto [key, entry] = read_pair(text, "KEY=VALUE");
        value[key] = entry;
    }
}

void read_value(const json::Value& source, std::map<std::string, std::vector<std::string>>& value) {
    for (const auto& [key, entry] : source.members()) {
        std::vector<std::string> elements;
        if (entry.is_array()) {
            for (const json::Value element : entry.elements())
                elements.push_back(scalar_of(element));
        } else {
            elements.push_back(scalar_of(entry));
        }
        value[std::string(key)] = std::move(elements);
    }
}

void read_value(const OptionTexts& texts, std::map<std::string, std::vector<std::string>>& value) {
    std::map<std::string, std::vector<std::string>> entries;
    for (const std::string& text : texts) {
        const auto [key, entry] = read_pair(text, "KEY=VALUE");
        entries[key].push_back(entry);
    }
    replace_entries(value, std::move(entries));
}

void read_value(const json::Value& source, std::map<char, std::string>& value) {
    std::map<char, std::string> drives;
    for (const auto& [letter, folder] : source.members())
        add_drive(drives, std::string(letter), text_of(folder));
    replace_entries(value, std::move(drives));
}

void read_value(const OptionTexts& texts, std::map<char, std::string>& value) {
    std::map<char, std::string> drives;
    for (const std::string& text : texts) {
        const auto [letter, folder] = read_pair(text, "LETTER=DIR");
        add_drive(drives, letter, folder);
    }
    replace_entries(value, std::move(drives));
}

void read_value(const json::Value& source, Region& value) {
    static const std::map<std::string_view, int Region::*> sides = {{"left", &Region::left},
                                                                    {"top", &Region::top},
                                                                    {"right", &Region::right},
                                                                    {"bottom", &Region::bottom},
                                                                    {"padding", &Region::padding}};
    value = {};
    read_object(source, {"left", "top", "right", "bottom"},
                [&](std::string_view key, const json::Value& member) {
                    const auto side = sides.find(key);
                    if (side != sides.end()) value.*side->second = integer_of(member);
                    return side != sides.end();
                });
}

void read_value(const OptionTexts& texts, Region& value) {
    value = {};
    read_numbers(texts.front(), "L,T,R,B", value.left, value.top, value.right, value.bottom);
}

void read_value(const json::Value& source, BlackFrameCheck& value) {
    read_object(source, {"percentage", "threshold"}, [&](std::string_view key, const json::Value& member) {
        if (key == "percentage")
            value.percentage = integer_of(member);
        else if (key == "threshold")
            value.threshold = static_cast<float>(member.number());
        else
            return false;
        return true;
    });
}

void read_value(const OptionTexts& texts, BlackFrameCheck& value) {
    read_numbers(texts.front(), "PERCENT,THRESHOLD", value.percentage, value.threshold);
}

void read_value(const json::Value& source, IgnoreMissing& value) {
    value = {};
    for (const json::Value element : source.elements())
        if (!set_ignore_missing(value, text_of(element))) element.fail("is none of files, uvws, dlls, xrefs");
}

void read_value(const OptionTexts& texts, IgnoreMissing& value) {
    value = {};
    for (const std::string& text : texts) {
        std::vector<std::string> names;
        boost::algorithm::split(names, text, [](char c) { return c == ','; });
        for (const std::string& name : names)
            if (!set_ignore_missing(value, name))
                throw std::invalid_argument('"' + name + "\" is none of files, uvws, dlls, xrefs");
    }
}

void read_value(const json::Value& source, ViewSettings::Progress& value) {
    value = progress_named(text_of(source));
}

void read_value(const OptionTexts& texts, ViewSettings::Progress& value) {
    value = progress_named(texts.front());
}

std::vector<std::string> progress_names() {
    std::vector<std::string> names;
    for (const auto& [name, kind] : progress_kinds)
        names.push_back(name);
    return names;
}

std::string progress_name(ViewSettings::Progress value) {
    return std::ranges::find(progress_kinds, value, [](const auto& entry) { return entry.second; })->first;
}

std::vector<std::string> command_parameters(int value) {
    return {std::to_string(value)};
}

std::vector<std::string> command_parameters(const std::string& value) {
    return {value};
}

void read_value(const json::Value& source, Verify& value) {
    try {
        read_value({text_of(source)}, value);
    } catch (const std::invalid_argument& error) {
        source.fail(error.what());
    }
}

void read_value(const OptionTexts& texts, Verify& value) {
    static const std::map<std::string_view, Verify> names = {
        {"full", Verify::full}, {"fast", Verify::fast}, {"off", Verify::off}};
    const auto name = names.find(texts.front());
    if (name == names.end())
        throw std::invalid_argument('"' + texts.front() + "\" is none of full, fast, off");
    value = name->second;
}

std::vector<std::string> command_parameters(const Region& value) {
    std::vector<std::string> parameters;
    for (const int number : {value.padding, value.left, value.top, value.right, value.bottom})
        parameters.push_back(std::to_string(number));
    return parameters;
}

std::vector<std::string> command_parameters(const BlackFrameCheck& value) {
    return {std::to_string(value.percentage), boost::lexical_cast<std::string>(value.threshold)};
}

std::vector<std::string> missing_kind_names(const IgnoreMissing& value) {
    std::vector<std::string> names;
    for (const MissingKind& kind : missing_kinds)
        if (value.*kind.field) names.emplace_back(kind.name);
    return names;
}

std::vector<std::string> ignore_missing_commands(const IgnoreMissing& value) {
    std::vector<std::string> lines;
    for (const MissingKind& kind : missing_kinds)
        if (value.*kind.field) lines.push_back(command_line(kind.command));
    return lines;
}

}  // namespace corrivane::worker
