#include "maxscript/streams/text_reader.h"

#include <algorithm>
#include <string_view>

namespace corrivane::host {

void TextReader::set_text(std::string text) {
    m_held.update(text.size());
    m_text = std::move(text);
    m_position = 0;
    m_line = 1;
}

void TextReader::append(const char* text, std::size_t size) {
    m_held.update(m_text.size() + size);
    m_text.append(text, size);
}

void TextReader::clear() {
    set_text({});
}

void TextReader::seek(std::size_t position) {
    m_position = 0;
    m_line = 1;
    advance_to(std::min(position, m_text.size()));
}

void TextReader::overwrite(const char* text, std::size_t size) {
    m_held.update(std::max(m_text.size(), m_position + size));
    m_text.replace(m_position, std::min(size, m_text.size() - m_position), text, size);
    advance_to(m_position + size);
}

int TextReader::get() {
    if (at_end()) return -1;
    const char character = m_text[m_position++];
    if (character == '\n') ++m_line;
    return static_cast<unsigned char>(character);
}

void TextReader::unget() {
    if (m_position == 0) return;
    if (m_text[--m_position] == '\n') --m_line;
}

void TextReader::advance_to(std::size_t position) {
    const auto begin = m_text.begin() + static_cast<std::ptrdiff_t>(m_position);
    const auto end = m_text.begin() + static_cast<std::ptrdiff_t>(position);
    m_line += static_cast<int>(std::count(begin, end, '\n'));
    m_position = position;
}

bool TextReader::skip_comment() {
    const std::string_view rest = std::string_view(m_text).substr(m_position);
    std::size_t length = 0;
    if (rest.substr(0, 2) == "--") {
        length = rest.find('\n');
    } else if (rest.substr(0, 2) == "/*") {
        length = rest.find("*/", 2);
        // A comment that does not end is left for the compiler to complain about.
        if (length == std::string_view::npos) return false;
        length += 2;
    } else {
        return false;
    }
    advance_to(m_position + std::min(length, rest.size()));
    return true;
}

void TextReader::skip_whitespace() {
    static constexpr std::string_view skipped = " \t\r\n\f\v;";
    do {
        advance_to(std::min(m_text.find_first_not_of(skipped, m_position), m_text.size()));
    } while (skip_comment());
}

}  // namespace corrivane::host
