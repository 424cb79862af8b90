#include "maxscript/library/library.h"
#include "maxscript/machine/signature.h"

#include <algorithm>

namespace corrivane::host {

namespace {

char upper_character(char character) {
    return character >= 'a' && character <= 'z' ? static_cast<char>(character - 'a' + 'A') : character;
}

/// `substring text from count`; a negative count means the rest.
std::string substring(const std::string& text, int from, int count) {
    if (from < 1) raise_runtime_error("substring: start must be +ve number, got: " + std::to_string(from));
    const auto start = static_cast<std::size_t>(from) - 1;
    if (start >= text.size()) return {};
    return text.substr(start, count < 0 ? std::string::npos : static_cast<std::size_t>(count));
}

std::optional<int> find_string(const std::string& text, const std::string& wanted) {
    const std::size_t found = text.find(wanted);
    if (found == std::string::npos) return std::nullopt;
    return static_cast<int>(found) + 1;
}

std::vector<std::string> filter_string(const std::string& text, const std::string& separators,
                                       const Keyword<"splitEmptyTokens", bool>& splits_empty) {
    const bool keeps_empty = splits_empty.value_or(false);
    std::vector<std::string> parts;
    for (std::size_t start = 0; start <= text.size();) {
        const std::size_t end = std::min(text.find_first_of(separators, start), text.size());
        if (end > start || (keeps_empty && !text.empty())) parts.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return parts;
}

std::string upper_case(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), upper_character);
    return text;
}

/// `trimLeft text [characters]`.
template <bool Left, bool Right>
std::string trim(std::string text, const std::optional<std::string>& characters) {
    const std::string trimmed = characters.value_or(" \t\r\n");
    if (Right) text.erase(text.find_last_not_of(trimmed) + 1);
    if (Left) text.erase(0, text.find_first_not_of(trimmed));
    return text;
}

/// `substituteString text old new`: all of them.
std::string substitute(const std::string& text, const std::string& wanted, const std::string& replacement) {
    if (wanted.empty()) return text;
    std::string result;
    std::size_t start = 0;
    for (std::size_t found = text.find(wanted); found != std::string::npos;
         found = text.find(wanted, start)) {
        result.append(text, start, found - start).append(replacement);
        start = found + wanted.size();
    }
    return result.append(text, start);
}

/// `replace text from count new`.
std::string replace(std::string text, int from, int count, const std::string& replacement) {
    if (from < 1 || count < 0 ||
        static_cast<std::size_t>(from) - 1 + static_cast<std::size_t>(count) > text.size())
        raise_runtime_error("replace: the range is not inside the string");
    text.replace(static_cast<std::size_t>(from) - 1, static_cast<std::size_t>(count), replacement);
    return text;
}

bool match_pattern(const std::string& text, const Required<"pattern", std::string>& pattern,
                   const Keyword<"ignoreCase", bool>& ignores_case) {
    if (!ignores_case.value_or(true)) return matches_pattern(text, *pattern);
    return matches_pattern(lower_case(text), lower_case(*pattern));
}

}  // namespace

bool matches_pattern(std::string_view text, std::string_view pattern) {
    std::size_t at = 0;
    std::size_t wanted = 0;
    // Where to go on when what followed the last * does not match: one character later.
    std::size_t star = std::string_view::npos;
    std::size_t resume = 0;
    while (at < text.size()) {
        if (wanted < pattern.size() && pattern[wanted] == '*') {
            star = wanted++;
            resume = at;
        } else if (wanted < pattern.size() && (pattern[wanted] == '?' || pattern[wanted] == text[at])) {
            ++at;
            ++wanted;
        } else if (star != std::string_view::npos) {
            wanted = star + 1;
            at = ++resume;
        } else {
            return false;
        }
    }
    return pattern.find_first_not_of('*', wanted) == std::string_view::npos;
}

void define_text_functions() {
    define_functions({
        {"substring", substring},
        {"findString", find_string},
        {"filterString", filter_string},
        {"toLower", lower_case},
        {"toUpper", upper_case},
        {"trimLeft", trim<true, false>},
        {"trimRight", trim<false, true>},
        {"substituteString", substitute},
        {"replace", replace},
        {"matchPattern", match_pattern},
    });
}

}  // namespace corrivane::host
