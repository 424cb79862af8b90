#pragma once

#include "json/path.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace corrivane::json {

class Value;

/// A JSON text, parsed once into one flat array: 16 bytes a value and 16 a member's name, the strings in one
/// block beside them. A tree of maps takes six times that for files that are all braces and commas.
///
/// Values (json/value.h) point into the document, so it stays where it is and outlives them.
class Document {
public:
    /// `text` may go afterwards. Throws Error, with the place in the text, when it is no JSON, holds a number
    /// that no double can, or nests arrays and objects more than `depth` deep; std::bad_alloc.
    explicit Document(std::string_view text, int depth = 100);
    Document(const Document&) = delete;
    Document& operator=(const Document&) = delete;

    Value root() const;
    /// Bytes that it takes.
    std::size_t memory() const { return m_tokens.size() * sizeof(Token) + m_strings.size(); }

private:
    friend class Value;
    friend class Builder;
    friend class MemberIterator;

    enum class Kind : std::uint8_t { null, boolean, negative, whole, real, string, array, object };

    /// A value, or a member's name in front of its value. What is in an array or object follows it.
    struct Token {
        struct String {
            std::uint32_t offset;  ///< in the strings
            std::uint32_t length;
        };
        struct List {
            std::uint32_t count;  ///< of elements or members
            std::uint32_t end;    ///< the first token behind it
        };
        union {
            std::int64_t negative;
            std::uint64_t whole;  ///< also of a boolean
            double real;
            String string;
            List list;
        };
        Kind kind;
    };

    /// The token behind a value and all that is in it.
    std::uint32_t next(std::uint32_t token) const {
        const Token& found = m_tokens[token];
        return found.kind >= Kind::array ? found.list.end : token + 1;
    }
    std::string_view string(std::uint32_t token) const {
        return {m_strings.data() + m_tokens[token].string.offset, m_tokens[token].string.length};
    }
    Path path_to(std::uint32_t token) const;

    std::vector<Token> m_tokens;
    std::string m_strings;
};

}  // namespace corrivane::json
