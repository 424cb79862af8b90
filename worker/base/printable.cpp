#include "worker/base/printable.h"

namespace corrivane::worker {
namespace {

char printable_character(char c) {
    if (c == '\n' || c == '\r' || c == '\t') return ' ';
    return static_cast<unsigned char>(c) < ' ' || c == '\x7f' ? '?' : c;
}

}  // namespace

std::string printable(std::string_view text) {
    std::string line;
    line.reserve(text.size());
    for (const char c : text)
        line += printable_character(c);
    line.erase(line.find_last_not_of(' ') + 1);
    return line;
}

std::vector<std::string> printable_lines(std::string_view text) {
    std::vector<std::string> lines;
    for (;;) {
        const auto end = text.find('\n');
        lines.push_back(printable(text.substr(0, end)));
        if (end == std::string_view::npos || end + 1 == text.size()) return lines;
        text.remove_prefix(end + 1);
    }
}

}  // namespace corrivane::worker
