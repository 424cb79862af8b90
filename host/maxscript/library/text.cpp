#include "maxscript/library/library.h"
#include "maxscript/machine/operators.h"
#include "maxscript/machine/signature.h"

#include <algorithm>
#include <cstdio>
#include <random>

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

/// One conversion of printf's: `[flags][width][.precision]type`, with or without a % in front.
struct NumberFormat {
    std::string flags;
    char type = 's';

    explicit NumberFormat(std::string text) {
        if (text.starts_with('%')) text.erase(0, 1);
        const bool known = !text.empty() && text.size() < 16 &&
                           types.find(text.back()) != std::string_view::npos &&
                           text.find_first_not_of("#0+- .123456789") >= text.size() - 1;
        if (!known) raise_runtime_error("formattedPrint: this is no format: \"" + text + "\"");
        type = text.back();
        flags = text.substr(0, text.size() - 1);
        // Longer than any number needs, and than memory likes.
        std::size_t digits = 0;
        for (const char character : flags) {
            digits = character >= '0' && character <= '9' ? digits + 1 : 0;
            if (digits > 3) raise_runtime_error("formattedPrint: too wide: \"" + text + "\"");
        }
    }

    template <typename T>
    std::string apply(const char* length, T number) const {
        const std::string format = "%" + flags + length + type;
        const int size = std::snprintf(nullptr, 0, format.c_str(), number);
        std::string text(static_cast<std::size_t>(size) + 1, '\0');
        std::snprintf(text.data(), text.size(), format.c_str(), number);
        text.pop_back();
        return text;
    }

    static constexpr std::string_view types = "diuoxXeEfFgGs";
};

/// `formattedPrint 3.14159 format:"8.2f"`.
std::string formatted(Value* value, const Keyword<"format", std::string>& wanted) {
    if (!wanted) return plain_text(value);
    const NumberFormat format(*wanted);
    if (format.type == 's') return format.apply("", plain_text(value).c_str());
    if (std::string_view("diuoxX").find(format.type) != std::string_view::npos)
        return format.apply("", to_integer(value));
    return format.apply("", static_cast<double>(to_float(value)));
}

int compare_without_case(const std::string& left, const std::string& right) {
    const int order = lower_case(left).compare(lower_case(right));
    return (order > 0) - (order < 0);
}

bool is_space(const std::string& text) {
    return !text.empty() && text.find_first_not_of(" \t\r\n\f\v") == std::string::npos;
}

/// `genGUID noBrackets:true`.
std::string make_guid(const Keyword<"noBrackets", bool>& bare) {
    std::random_device source;
    std::string text;
    for (int i = 0; i < 4; ++i) {
        char digits[9];
        std::snprintf(digits, sizeof digits, "%08X", static_cast<unsigned>(source()));
        text += digits;
    }
    text[12] = '4';  // of random numbers
    text[16] = "89AB"[source() % 4];
    for (const std::size_t place : {8U, 13U, 18U, 23U})
        text.insert(place, "-");
    return bare.value_or(false) ? text : "{" + text + "}";
}

/// `getHashValue value start`: the same number for equal values in every run.
int hash_value(Value* value, std::optional<int> start) {
    auto hash = static_cast<std::uint32_t>(start.value_or(0)) ^ 2166136261U;
    for (const char character : printed_form(value))
        hash = (hash ^ static_cast<unsigned char>(character)) * 16777619U;
    return static_cast<int>(hash);
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
        {"formattedPrint", formatted},
        {"stricmp", compare_without_case},
        {"isSpace", is_space},
        {"genGUID", make_guid},
        {"getHashValue", hash_value},
    });
}

}  // namespace corrivane::host
