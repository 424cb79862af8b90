#pragma once

#include "maxscript/machine/heap.h"

#include <cstddef>
#include <string>

namespace corrivane::host {

/// A text that is read character by character, and knows its line. What file and string streams read from.
class TextReader {
public:
    /// Throws std::bad_alloc when the text goes beyond the heap's limit.
    void set_text(std::string text);
    void append(const char* text, std::size_t size);
    void clear();

    const std::string& text() const { return m_text; }
    int line() const { return m_line; }
    bool at_end() const { return m_position == m_text.size(); }

    std::size_t position() const { return m_position; }
    /// Goes to a place, at the most to the end.
    void seek(std::size_t position);
    /// Writes over what stands at the position, and behind the end of the text.
    void overwrite(const char* text, std::size_t size);

    /// The next character, -1 at the end.
    int get();
    void unget();
    /// Skips blanks, ends of lines, semicolons and comments.
    void skip_whitespace();

private:
    bool skip_comment();
    void advance_to(std::size_t position);

    HeldBytes m_held;
    std::string m_text;
    std::size_t m_position = 0;
    int m_line = 1;
};

}  // namespace corrivane::host
