#pragma once

#include "maxscript/machine/script_place.h"

#include <max/maxscript/streams.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <exception>
#include <string>
#include <string_view>

namespace corrivane::host {

enum class TokenKind {
    end,
    /// Ends of lines and semicolons, as many as there are.
    separator,
    integer,
    real,
    /// A whole number of 64 bits: `12L`.
    integer64,
    /// A number of double precision: `1.5P`, `1d3`.
    double_real,
    /// `10f`, `2.5s`, `160t`, `1m30s`, `0:10.0`.
    time,
    text,
    name,
    /// `$name`.
    path,
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
    /// The characters; of a text its content, of a name, path or identifier what follows the sign or quote.
    std::string text;
    /// Of an identifier, keyword argument and reserved word: in lower case.
    std::string key;
    std::int64_t integer = 0;
    /// Of a time: seconds; the frames that come on top are in `frames`, ticks in `integer`.
    double real = 0;
    double frames = 0;
    int line = 1;
    bool space_before = false;
    bool space_after = false;
    /// Written in quotes, so that it is no word of the language.
    bool quoted = false;
    /// Characters of the stream before the token.
    std::uint64_t start = 0;
    /// What is wrong with it; null for nothing.
    std::exception_ptr fault;

    bool is(TokenKind wanted, std::string_view wanted_text) const {
        return kind == wanted && key == wanted_text;
    }
    bool is_sign(std::string_view wanted) const { return kind == TokenKind::sign && text == wanted; }
    bool is_reserved(std::string_view wanted) const { return is(TokenKind::reserved, wanted); }
    /// A word that is written without quotes, reserved or not.
    bool is_word(std::string_view wanted) const {
        return (kind == TokenKind::reserved || kind == TokenKind::identifier) && !quoted && key == wanted;
    }
    /// Anything that is written like the name of a variable.
    bool is_any_word() const { return kind == TokenKind::identifier || kind == TokenKind::reserved; }
    bool is_new_line() const { return kind == TokenKind::separator && text != ";"; }
};

/// Cuts a stream into tokens. Reads ahead as far as the compiler looks ahead, and gives back what was
/// not taken.
class Lexer {
public:
    explicit Lexer(CharStream& stream);

    /// The token that is `ahead` tokens further on. Throws MAXScriptException when the next one is no token; further
    /// on, what is none is an end with a fault, since what stands before it may be run first.
    const Token& peek(std::size_t ahead = 0) {
        while (m_tokens.size() <= ahead)
            m_tokens.push_back(next_or_fault());
        if (ahead == 0 && m_tokens.front().fault) std::rethrow_exception(m_tokens.front().fault);
        return m_tokens[ahead];
    }
    Token take();
    /// Makes an identifier and a colon of the keyword argument that comes next.
    void split_keyword();
    /// Puts the stream back to the start of the next token.
    void give_back();
    /// Behind an error: skips what belongs to the expression that has been begun.
    void skip_expression();
    /// Where a line of the script is.
    ScriptPlace place(int line) const { return {m_file, line}; }
    const std::string* file() const { return m_file; }

private:
    int read();
    void unread(int character);
    int look();
    [[noreturn]] void fail(const std::string& message, int line) const;

    Token next();
    Token next_or_fault();
    bool skip_space();
    void skip_block_comment();
    void skip_line_comment();
    void skip_continuation();
    void read_token(Token& token, int first);
    void read_number(Token& token, int first);
    std::string read_number_text(int first);
    void read_frames_behind_colon(std::string& text);
    void finish_number(Token& token);
    void finish_integer(Token& token, std::string_view digits, int base);
    void finish_real(Token& token, std::string digits);
    void read_word(Token& token, int first);
    void read_name(Token& token);
    void read_path(Token& token);
    bool read_dots(std::string& text);
    void read_text(Token& token);
    void read_verbatim(Token& token, char quote);
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
    /// Brackets that the tokens so far have opened and not closed.
    int m_open_brackets = 0;
};

/// A file's name at an address that lives for ever.
const std::string* file_name_for_ever(const std::string& name);

}  // namespace corrivane::host
