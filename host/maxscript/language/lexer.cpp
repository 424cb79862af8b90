#include "maxscript/language/lexer.h"

#include "maxscript/machine/errors.h"
#include "maxscript/machine/values.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <unordered_set>

namespace corrivane::host {

namespace {

constexpr auto reserved_words = std::to_array<std::string_view>(
    {"and", "as",  "by",     "case",     "catch",  "collect", "continue", "do",    "else",   "exit",
     "fn",  "for", "from",   "function", "global", "if",      "in",       "local", "mapped", "not",
     "of",  "or",  "return", "struct",   "then",   "to",      "try",      "where", "while",  "with"});
/// Words that MAXScript reserves for parts of the language that this host does not have.
constexpr auto unsupported_words = std::to_array<std::string_view>(
    {"about", "animate", "at", "coordsys", "macroscript", "parameters", "persistent", "plugin", "rcmenu",
     "rollout", "set", "tool", "undo", "utility", "when"});
constexpr auto two_character_signs =
    std::to_array<std::string_view>({"==", "!=", "<=", ">=", "+=", "-=", "*=", "/=", "#(", "::"});
constexpr std::string_view one_character_signs = "+-*/^=<>()[],.:";

bool is_digit(int character) {
    return character >= '0' && character <= '9';
}

// Letters beyond ASCII belong to words, in whatever code page the script is.
bool is_word_character(int character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           is_digit(character) || character == '_' || character >= 0x80;
}

bool is_blank(int character) {
    return character == ' ' || character == '\t' || character == '\r' || character == '\f' ||
           character == '\v';
}

template <typename Words>
bool contains(const Words& words, std::string_view word) {
    return std::find(words.begin(), words.end(), word) != words.end();
}

std::string shown(int character) {
    if (character > ' ' && character < 0x7F) return {static_cast<char>(character)};
    return "character code " + std::to_string(character);
}

}  // namespace

const std::string* file_name_for_ever(const std::string& name) {
    static auto* const names = new std::unordered_set<std::string>;
    return &*names->insert(name).first;
}

Lexer::Lexer(CharStream& stream) : m_stream(stream) {
    const SourcePosition position = stream.position();
    m_file = file_name_for_ever(position.file);
    m_line = position.line;
}

int Lexer::read() {
    const int character = m_stream.get_char();
    if (character < 0) return character;
    ++m_read;
    if (character == '\n') ++m_line;
    return character;
}

void Lexer::unread(int character) {
    m_stream.unget_char();
    --m_read;
    if (character == '\n') --m_line;
}

int Lexer::look() {
    const int character = m_stream.get_char();
    if (character >= 0) m_stream.unget_char();
    return character;
}

void Lexer::fail(const std::string& message, int line) const {
    raise_syntax_error(message, place(line));
}

const Token& Lexer::peek(std::size_t ahead) {
    while (m_tokens.size() <= ahead)
        m_tokens.push_back(next());
    return m_tokens[ahead];
}

Token Lexer::take() {
    peek();
    Token token = std::move(m_tokens.front());
    m_tokens.pop_front();
    return token;
}

void Lexer::give_back() {
    if (m_tokens.empty()) return;
    for (; m_read > m_tokens.front().start; --m_read)
        m_stream.unget_char();
    m_line = m_tokens.front().line;
    m_tokens.clear();
}

void Lexer::skip_line_comment() {
    int character = read();
    while (character >= 0 && character != '\n')
        character = read();
    if (character == '\n') unread(character);
}

void Lexer::skip_block_comment() {
    const int line = m_line;
    for (int previous = 0, character = read(); previous != '*' || character != '/'; character = read()) {
        if (character < 0) fail("the script ends inside the /* comment", line);
        previous = character;
    }
}

/// Skips a line's end behind a backslash that has been read; false when something else follows.
bool Lexer::skip_continuation() {
    int character = read();
    while (is_blank(character))
        character = read();
    return character == '\n' || character < 0;
}

/// Skips blanks and comments within a line; true when there were any.
bool Lexer::skip_space() {
    for (bool skipped = false;; skipped = true) {
        const int character = read();
        if (is_blank(character)) continue;
        if (character < 0) return skipped;
        const int following = look();
        if (character == '-' && following == '-') {
            skip_line_comment();
        } else if (character == '/' && following == '*') {
            read();
            skip_block_comment();
        } else if (character == '\\') {
            if (!skip_continuation()) fail("a backslash outside a string must end its line", m_line);
        } else {
            unread(character);
            return skipped;
        }
    }
}

Token Lexer::next() {
    Token token;
    token.space_before = skip_space();
    token.line = m_line;
    token.start = m_read;
    const int first = read();
    if (first < 0) return token;
    read_token(token, first);
    const int following = look();
    token.space_after = following < 0 || following == '\n' || is_blank(following);
    m_after_minus = token.is_sign("-");
    const bool closes = token.is_sign(")") || token.is_sign("]");
    m_after_operand = closes || (token.kind != TokenKind::sign && token.kind != TokenKind::separator &&
                                 token.kind != TokenKind::reserved);
    return token;
}

void Lexer::read_token(Token& token, int first) {
    const int second = look();
    // `a.5` is no number: a point right behind an operand asks for a property.
    const bool point_starts_number =
        first == '.' && is_digit(second) && (token.space_before || !m_after_operand);
    if (first == '\n' || first == ';') {
        read_separators(token, first);
    } else if (is_digit(first) || point_starts_number) {
        read_number(token, first);
    } else if (is_word_character(first) || first == '\'') {
        read_word(token, first);
    } else if (first == '"') {
        read_text(token);
    } else if (first == '@' && second == '"') {
        read();
        read_verbatim_text(token);
    } else if (first == '#' && (is_word_character(second) || second == '\'')) {
        read_name(token);
    } else {
        read_sign(token, first);
    }
}

void Lexer::read_separators(Token& token, int first) {
    token.kind = TokenKind::separator;
    token.text = "end of line";
    for (int character = first; character == '\n' || character == ';'; character = read()) {
        if (character == ';') token.text = ";";
        skip_space();
        if (look() != '\n' && look() != ';') return;
    }
}

void Lexer::read_number(Token& token, int first) {
    token.text = static_cast<char>(first);
    if (first == '0' && (look() == 'x' || look() == 'X')) return read_hexadecimal(token);
    bool whole = first != '.';
    for (int character = look(); is_digit(character) || (character == '.' && whole); character = look()) {
        whole = whole && character != '.';
        token.text += static_cast<char>(read());
    }
    if (look() == 'e' || look() == 'E') {
        whole = false;
        token.text += static_cast<char>(read());
        if (look() == '+' || look() == '-') token.text += static_cast<char>(read());
        while (is_digit(look()))
            token.text += static_cast<char>(read());
    }
    finish_number(token, whole);
}

void Lexer::read_hexadecimal(Token& token) {
    token.text += static_cast<char>(read());
    while (is_word_character(look()))
        token.text += static_cast<char>(read());
    std::uint32_t bits = 0;
    const char* last = token.text.data() + token.text.size();
    const auto [end, error] = std::from_chars(token.text.data() + 2, last, bits, 16);
    if (error != std::errc() || end != last) fail("this is no hexadecimal number: " + token.text, token.line);
    token.kind = TokenKind::integer;
    token.integer = static_cast<int>(bits);
}

void Lexer::finish_number(Token& token, bool whole) {
    if (is_word_character(look())) fail("this is no number: " + token.text + shown(look()), token.line);
    // The smallest integer has no positive counterpart: its digits are its own negative, so that the minus sign
    // in front changes nothing.
    if (whole && m_after_minus && token.text == "2147483648") {
        token.kind = TokenKind::integer;
        token.integer = std::numeric_limits<int>::min();
        return;
    }
    const char* last = token.text.data() + token.text.size();
    token.kind = whole ? TokenKind::integer : TokenKind::real;
    const auto [end, error] = whole ? std::from_chars(token.text.data(), last, token.integer)
                                    : std::from_chars(token.text.data(), last, token.real);
    // What is too small for a float is zero.
    const bool tiny =
        !whole && error == std::errc::result_out_of_range && token.text.find("e-") != std::string::npos;
    if (tiny) token.real = 0;
    if (end != last) fail("this is no number: " + token.text.substr(0, 40), token.line);
    if (error != std::errc() && !tiny)
        fail("this number is out of range: " + token.text.substr(0, 40), token.line);
}

void Lexer::read_quoted(std::string& text, int line) {
    for (int character = read(); character != '\''; character = read()) {
        if (character < 0 || character == '\n') fail("a ' is missing at the end of a quoted name", line);
        text += static_cast<char>(character);
    }
}

void Lexer::read_word(Token& token, int first) {
    if (first == '\'') {
        read_quoted(token.text, token.line);
    } else {
        token.text = static_cast<char>(first);
        while (is_word_character(look()))
            token.text += static_cast<char>(read());
    }
    token.key = lower_case(token.text);
    token.kind = TokenKind::identifier;
    // A colon behind it makes any word the name of an argument, `to:` too. Two colons stand for
    // something else.
    if (look() == ':') {
        read();
        if (look() != ':') {
            token.kind = TokenKind::keyword_argument;
            return;
        }
        unread(':');
    }
    if (first == '\'') return;
    if (contains(reserved_words, token.key)) token.kind = TokenKind::reserved;
    if (contains(unsupported_words, token.key))
        fail("this host's MAXScript has no " + token.text, token.line);
}

void Lexer::read_name(Token& token) {
    token.kind = TokenKind::name;
    if (look() == '\'') {
        read();
        return read_quoted(token.text, token.line);
    }
    while (is_word_character(look()))
        token.text += static_cast<char>(read());
}

void Lexer::read_text(Token& token) {
    token.kind = TokenKind::text;
    for (int character = read(); character != '"'; character = read()) {
        if (character < 0) fail("the script ends inside the string that begins here", token.line);
        if (character == '\\') {
            read_escape(token.text);
        } else {
            token.text += static_cast<char>(character);
        }
    }
}

void Lexer::read_verbatim_text(Token& token) {
    token.kind = TokenKind::text;
    for (int character = read(); character != '"'; character = read()) {
        if (character < 0) fail("the script ends inside the string that begins here", token.line);
        token.text += static_cast<char>(character);
    }
}

/// Reads what follows a backslash in a string. A backslash before any other character stays, as in "C:\jobs".
void Lexer::read_escape(std::string& text) {
    const int character = read();
    switch (character) {
        case 'n':
            text += '\n';
            return;
        case 'r':
            text += '\r';
            return;
        case 't':
            text += '\t';
            return;
        case '"':
        case '\\':
        case '*':
        case '?':
            text += static_cast<char>(character);
            return;
        case 'x':
            break;
        default:
            text += '\\';
            if (character < 0) return;
            text += static_cast<char>(character);
            return;
    }
    std::string digits;
    while (digits.size() < 2 && look() >= 0 &&
           std::string_view("0123456789abcdefABCDEF").find(static_cast<char>(look())) !=
               std::string_view::npos)
        digits += static_cast<char>(read());
    text += digits.empty() ? "\\x" : std::string(1, static_cast<char>(std::stoi(digits, nullptr, 16)));
}

void Lexer::read_sign(Token& token, int first) {
    token.kind = TokenKind::sign;
    token.text = static_cast<char>(first);
    const int second = look();
    if (second > 0 && contains(two_character_signs, token.text + static_cast<char>(second))) {
        token.text += static_cast<char>(read());
        return;
    }
    if (one_character_signs.find(static_cast<char>(first)) == std::string_view::npos)
        fail("unexpected " + shown(first), token.line);
}

}  // namespace corrivane::host
