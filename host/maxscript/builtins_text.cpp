#include "maxscript/builtins.h"
#include "maxscript/errors.h"
#include "maxscript/operators.h"
#include "maxscript/runtime.h"
#include "maxscript/values.h"

#include <algorithm>

namespace corrivane::host {

namespace {

char upper_character(char character) {
    return character >= 'a' && character <= 'z' ? static_cast<char>(character - 'a' + 'A') : character;
}

/// An option given by name: what was given, or what holds without it.
bool option(const Arguments& arguments, std::string_view name, bool otherwise) {
    Value* given = arguments.keyword(name);
    return given == nullptr ? otherwise : to_boolean(given);
}

/// `substring text from count`; a negative count means the rest.
Value* substring(Arguments& arguments) {
    arguments.require(3);
    const std::string text = arguments.text(0);
    const int from = arguments.integer(1);
    const int count = arguments.integer(2);
    if (from < 1) raise_runtime_error("substring: start must be +ve number, got: " + std::to_string(from));
    const auto start = static_cast<std::size_t>(from) - 1;
    if (start >= text.size()) return make_string("");
    return make_string(text.substr(start, count < 0 ? std::string::npos : static_cast<std::size_t>(count)));
}

Value* find_string(Arguments& arguments) {
    arguments.require(2);
    const std::size_t found = arguments.text(0).find(arguments.text(1));
    return found == std::string::npos ? &undefined : make_integer(static_cast<int>(found) + 1);
}

Value* filter_string(Arguments& arguments) {
    arguments.require(2);
    const std::string text = arguments.text(0);
    const std::string separators = arguments.text(1);
    const bool keeps_empty = option(arguments, "splitemptytokens", false);
    Rooted parts(make_array());
    for (std::size_t start = 0; start <= text.size();) {
        const std::size_t end = std::min(text.find_first_of(separators, start), text.size());
        if (end > start || (keeps_empty && !text.empty()))
            append_to_array(parts.get(), make_string(std::string_view(text).substr(start, end - start)));
        start = end + 1;
    }
    return parts.get();
}

Value* lower(Arguments& arguments) {
    arguments.require(1);
    return make_string(lower_case(arguments.text(0)));
}

Value* upper(Arguments& arguments) {
    arguments.require(1);
    std::string text = arguments.text(0);
    std::transform(text.begin(), text.end(), text.begin(), upper_character);
    return make_string(text);
}

/// `trimLeft text [characters]`.
template <bool Left, bool Right>
Value* trim(Arguments& arguments) {
    arguments.require(1, 2);
    std::string text = arguments.text(0);
    const std::string trimmed = arguments.count() == 2 ? arguments.text(1) : " \t\r\n";
    if (Right) text.erase(text.find_last_not_of(trimmed) + 1);
    if (Left) text.erase(0, text.find_first_not_of(trimmed));
    return make_string(text);
}

/// `substituteString text old new`: all of them.
Value* substitute(Arguments& arguments) {
    arguments.require(3);
    const std::string text = arguments.text(0);
    const std::string wanted = arguments.text(1);
    const std::string replacement = arguments.text(2);
    if (wanted.empty()) return make_string(text);
    std::string result;
    std::size_t start = 0;
    for (std::size_t found = text.find(wanted); found != std::string::npos;
         found = text.find(wanted, start)) {
        result.append(text, start, found - start).append(replacement);
        start = found + wanted.size();
    }
    return make_string(result.append(text, start));
}

/// `replace text from count new`.
Value* replace(Arguments& arguments) {
    arguments.require(4);
    std::string text = arguments.text(0);
    const int from = arguments.integer(1);
    const int count = arguments.integer(2);
    if (from < 1 || count < 0 ||
        static_cast<std::size_t>(from) - 1 + static_cast<std::size_t>(count) > text.size())
        raise_runtime_error("replace: the range is not inside the string");
    text.replace(static_cast<std::size_t>(from) - 1, static_cast<std::size_t>(count), arguments.text(3));
    return make_string(text);
}

Value* match_pattern(Arguments& arguments) {
    arguments.require(1);
    Value* pattern = arguments.keyword("pattern");
    if (pattern == nullptr) raise_runtime_error("matchPattern requires the keyword argument pattern:");
    if (!option(arguments, "ignorecase", true))
        return make_boolean(matches_pattern(arguments.text(0), to_text(pattern)));
    return make_boolean(matches_pattern(lower_case(arguments.text(0)), lower_case(to_text(pattern))));
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
    define_function("substring", substring);
    define_function("findString", find_string);
    define_function("filterString", filter_string);
    define_function("toLower", lower);
    define_function("toUpper", upper);
    define_function("trimLeft", trim<true, false>);
    define_function("trimRight", trim<false, true>);
    define_function("substituteString", substitute);
    define_function("replace", replace);
    define_function("matchPattern", match_pattern);
}

}  // namespace corrivane::host
