#include "worker/views/reason.h"

#include "worker/base/printable.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <regex>
#include <vector>

namespace corrivane::worker {
namespace {

struct NumberInWords {
    int number;
    const char* words;
};

/// What 3ds Max's bitmaps answer. The stand-in answers with Windows' numbers.
constexpr NumberInWords image_errors[] = {
    {2, "the file is not there"},
    {3, "no such folder"},
    {4, "too many open files"},
    {5, "no permission to write it"},
    {6, "the file has not been opened"},
    {8, "out of memory"},
    {15, "no such drive"},
    {19, "the disk is read-only"},
    {31, "the image can't be encoded"},
    {32, "another program has the file open"},
    {50, "no image format for this extension"},
    {53, "no such share"},
    {87, "the image is too large for the format"},
    {112, "no space left"},
    {123, "no name that Windows could store"},
    {126, "the image library can't be loaded"},
    {206, "the name is too long"},
    {223, "the file would be larger than files may become"},
    {267, "what the name calls a folder is a file"},
    {336, "a folder has that name"},
    {1117, "the disk failed"},
};

constexpr NumberInWords socket_errors[] = {
    {10004, "the call was interrupted"},
    {10013, "no permission to open the connection"},
    {10048, "another program uses the port"},
    {10050, "the network is down"},
    {10051, "the network can't be reached"},
    {10052, "the network dropped the connection"},
    {10053, "connection given up on this side"},
    {10054, "connection reset by the host"},
    {10055, "the system has no room for more connections"},
    {10057, "not connected"},
    {10058, "connection shut down"},
    {10060, "the host did not answer in time"},
    {10061, "connection refused by the host"},
    {10065, "the host can't be reached"},
};

template <std::size_t size>
std::optional<std::string> words_for(const std::string& digits, const NumberInWords (&table)[size]) {
    int number = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), number);
    const auto* const row = std::ranges::find(table, number, &NumberInWords::number);
    if (row == std::end(table)) return std::nullopt;
    return row->words;
}

/// The operation on a bitmap that an error is about, and the number that it gave.
struct BitmapError {
    std::string operation;
    std::string number;
    std::string what() const {
        return operation == "OpenOutput" ? "the image file could not be opened: "
                                         : "the image could not be written: ";
    }
};

std::optional<BitmapError> bitmap_error(const std::string& line) {
    static const std::regex form(R"(Error in bm->(\w+)\(\): error code (\d+))");
    std::smatch parts;
    if (!std::regex_match(line, parts, form)) return std::nullopt;
    return BitmapError{parts[1], parts[2]};
}

/// "no space left on C: (C:\out\a.png)"
std::string problem_of_file(const std::string& file, const std::string& problem, const std::string& number) {
    const bool on_drive = file.size() > 1 && file[1] == ':';
    return problem + (number == "112" && on_drive ? " on " + file.substr(0, 2) : "") + " (" + file + ')';
}

std::string with_socket_errors_in_words(const std::string& line) {
    static const std::regex form(R"((?:(?:send|recv|select): [^:]*: )?WSAError(?: code)? (\d+))");
    std::smatch parts;
    if (!std::regex_search(line, parts, form)) return line;
    const auto words = words_for(parts[1], socket_errors);
    return words ? parts.prefix().str() + *words + parts.suffix().str() : line;
}

/// The host's own lines below an error, each without its mark.
std::vector<std::string> logged_errors(std::string_view error) {
    constexpr std::string_view mark = "[error] ";
    std::vector<std::string> entries;
    for (const std::string& line : printable_lines(error))
        if (line.starts_with(mark)) entries.push_back(line.substr(mark.size()));
    return entries;
}

/// What the host logged of the same failure names the file.
std::string bitmap_reason(const BitmapError& error, const std::vector<std::string>& entries) {
    const std::regex form(error.operation + R"(: (.*): (.*) \(code )" + error.number + R"(\))");
    std::smatch parts;
    for (const std::string& entry : entries)
        if (std::regex_match(entry, parts, form))
            return error.what() + problem_of_file(parts[1], parts[2], error.number);
    return in_words("Error in bm->" + error.operation + "(): error code " + error.number);
}

/// An entry without the name of the call before it, which says nothing to who does not know the plug-in.
std::string without_call(const std::string& entry) {
    static const std::regex call(R"(^\w+: )");
    return std::regex_replace(entry, call, "");
}

}  // namespace

std::string in_words(std::string_view line) {
    const std::string text = printable(line);
    if (const auto error = bitmap_error(text)) {
        const auto words = words_for(error->number, image_errors);
        return error->what() + words.value_or("error code " + error->number);
    }
    static const std::regex trapped(R"(Trapped SEH Exception in (\w+)\(\): )");
    return with_socket_errors_in_words(std::regex_replace(text, trapped, "3ds Max crashed in $1: "));
}

std::string short_reason(std::string_view error) {
    const std::string first = printable(error.substr(0, error.find('\n')));
    const std::vector<std::string> entries = logged_errors(error);
    if (const auto failed = bitmap_error(first)) return bitmap_reason(*failed, entries);
    constexpr std::size_t most = 3;
    std::string reason = in_words(first);
    for (std::size_t i = 0; i < std::min(entries.size(), most); ++i)
        reason += (i == 0 ? ": " : "; ") + without_call(entries[i]);
    if (entries.size() > most) reason += "; and " + std::to_string(entries.size() - most) + " more";
    return reason;
}

}  // namespace corrivane::worker
