#pragma once

#include "maxscript/machine/thread_state.h"

#include <max/maxscript/streams.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>

namespace corrivane::host {

enum class TokenKind {
    end,
    /// Ends of lines and semicolons, as many as there are.
    separator,
    integer,
    real,
    text,
    name,
    identifier,
    /// `identifier:`
    keyword_argument,
    reserved,
    /// An operator, a bracket or another sign.
    sign
};

/// The smallest part of a script.
struct Token {
    TokenKind kind = TokenKind::end;
    /// The characters; of a text its content, of a name or identifier what follows the sign or quote.
    std::string text;
    /// Of an identifier, keyword argument and reserved word: in lower case.
    std::string key;
    int integer = 0;
    float real = 0;
    int line = 1;
    bool space_before = false;
    bool space_after = false;
    /// Characters of the stream before the token.
    std::uint64_t start = 0;

    bool is(TokenKind wanted, std::string_view wanted_text) const {
        return kind == wanted && key == wanted_text;
    }
    bool is_sign(std::string_view wanted) const { return kind == TokenKind::sign && text == wanted; }
    bool is_reserved(std::string_view wanted) const { return is(TokenKind::reserved, wanted); }
};

/// Cuts a stream into tokens. Reads ahead as far as the compiler looks ahead, and gives back what was
/// not taken.
class Lexer {
public:
    explicit Lexer(CharStream& stream);

    /// The token that is `ahead` tokens further on. Throws MAXScriptException for what is no token.
    const Token& peek(std::size_t ahead = 0);
    Token take();
    /// Puts the stream back to the start of the next token.
    void give_back();
    /// Where a line of the script is.
    ScriptPlace place(int line) const { return {m_file, line}; }
    const std::string* file() const { return m_file; }

private:
    int read();
    void unread(int character);
    int look();
    [[noreturn]] void fail(const std::string& message, int line) const;

    Token next();
    bool skip_space();
    void skip_block_comment();
    void skip_line_comment();
    bool skip_continuation();
    void read_token(Token& token, int first);
    void read_number(Token& token, int first);
    void read_hexadecimal(Token& token);
    void finish_number(Token& token, bool whole);
    void read_word(Token& token, int first);
    void read_name(Token& token);
    void read_text(Token& token);
    void read_verbatim_text(Token& token);
    void read_escape(std::string& text);
    void read_quoted(std::string& text, int line);
    void read_separators(Token& token, int first);
    void read_sign(Token& token, int first);

    CharStream& m_stream;
    const std::string* m_file;
    int m_line;
    std::uint64_t m_read = 0;
    std::deque<Token> m_tokens;
    bool m_after_operand = false;
    bool m_after_minus = false;
};

/// A file's name at an address that lives for ever.
const std::string* file_name_for_ever(const std::string& name);

}  // namespace corrivane::host
