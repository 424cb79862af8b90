#include "maxscript/language/lexer.h"

#include "maxscript/machine/errors.h"
#include "maxscript/machine/time_text.h"
#include "maxscript/machine/values.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <unordered_set>

namespace corrivane::host {

namespace {

/// Whether a word can be no variable's name. The words of definitions and contexts are names where nothing of
/// theirs follows, so the compiler knows them.
bool is_reserved_word(std::string_view word) {
    static const std::unordered_set<std::string_view> words{
        "and", "as",  "by",     "case",     "catch",  "collect", "continue", "do",    "else",   "exit",
        "fn",  "for", "from",   "function", "global", "if",      "in",       "local", "mapped", "not",
        "of",  "or",  "return", "struct",   "then",   "to",      "try",      "where", "while",  "with"};
    return words.contains(word);
}

constexpr auto two_character_signs =
    std::to_array<std::string_view>({"==", "!=", "<=", ">=", "+=", "-=", "*=", "/=", "#(", "#{", "::", ".."});
constexpr std::string_view one_character_signs = "+-*/^=<>()[]{},.:&?";

/// Signs that belong to the path of an object.
constexpr std::string_view path_signs = "*?/\\";
/// The blank of web pages, as UTF-8 has it.
constexpr unsigned char no_break_space[] = {0xC2, 0xA0};

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

bool ends_in_exponent(const std::string& text) {
    const char last = text.back();
    return (last == 'e' || last == 'E' || last == 'd' || last == 'D') &&
           text.find_first_not_of("0123456789.") == text.size() - 1;
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

Token Lexer::take() {
    peek();
    Token token = std::move(m_tokens.front());
    m_tokens.pop_front();
    return token;
}

Token Lexer::next_or_fault() {
    const std::uint64_t start = m_read;
    const int line = m_line;
    try {
        return next();
    } catch (MAXScriptException&) {
        Token token;
        token.start = start;
        token.line = line;
        token.fault = std::current_exception();
        return token;
    }
}

void Lexer::split_keyword() {
    Token& word = m_tokens.front();
    Token colon = word;
    word.kind = TokenKind::identifier;
    colon.kind = TokenKind::sign;
    colon.text = ":";
    colon.key.clear();
    m_tokens.insert(m_tokens.begin() + 1, std::move(colon));
}

void Lexer::give_back() {
    if (m_tokens.empty()) return;
    for (; m_read > m_tokens.front().start; --m_read)
        m_stream.unget_char();
    m_line = m_tokens.front().line;
    m_tokens.clear();
}

void Lexer::skip_expression() {
    // What was looked at counts too: its brackets have been counted.
    m_tokens.clear();
    for (;;) {
        try {
            const Token token = next();
            if (token.kind == TokenKind::end) return;
            if (token.kind == TokenKind::separator && m_open_brackets <= 0) break;
        } catch (MAXScriptException&) {
            // One expression, one error.
        }
    }
    m_open_brackets = 0;
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

/// Skips a line's end behind a backslash that has been read, and the comment before it.
void Lexer::skip_continuation() {
    int character = read();
    while (is_blank(character) || character == '\\')
        character = read();
    if (character == '-' && look() == '-') {
        skip_line_comment();
        character = read();
    }
    if (character == '\n' || character < 0) return;
    // Inside of a line it stands for a blank.
    unread(character);
}

/// Skips blanks and comments within a line; true when there were any.
bool Lexer::skip_space() {
    for (bool skipped = false;; skipped = true) {
        const int character = read();
        if (is_blank(character)) continue;
        if (character < 0) return skipped;
        if (character != '-' && character != '/' && character != '\\' && character != no_break_space[0]) {
            unread(character);
            return skipped;
        }
        const int following = look();
        if (character == '-' && following == '-') {
            skip_line_comment();
        } else if (character == '/' && following == '*') {
            read();
            skip_block_comment();
        } else if (character == '\\') {
            skip_continuation();
        } else if (character == no_break_space[0] && following == no_break_space[1]) {
            read();
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
    const bool sign = token.kind == TokenKind::sign;
    const char last = sign ? token.text.back() : ' ';
    const bool closes = last == ')' || last == ']' || last == '}' || last == '?';
    if (last == '(' || last == '[' || last == '{') ++m_open_brackets;
    if (closes && last != '?') --m_open_brackets;
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
        read_verbatim(token, '"');
    } else if (first == '~' && is_word_character(second)) {
        // The name of a text in a resource; there is none, so it stands for itself.
        read_verbatim(token, '~');
    } else if (first == '#' && (is_word_character(second) || second == '\'')) {
        read_name(token);
    } else if (first == '$') {
        read_path(token);
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

/// All that belongs to a number: letters for exponents, units and sizes among it.
std::string Lexer::read_number_text(int first) {
    std::string text(1, static_cast<char>(first));
    const bool hexadecimal = first == '0' && (look() == 'x' || look() == 'X');
    for (;;) {
        const int character = look();
        const bool is_sign = (character == '+' || character == '-') && !hexadecimal && ends_in_exponent(text);
        if (is_word_character(character) || is_sign) {
            text += static_cast<char>(read());
        } else if (character == '.' && !hexadecimal && text.find('.') == std::string::npos) {
            read();
            // Two points stand between the ends of a range; one behind a unit asks for a property, `10f.frame`.
            const bool behind_digits = text.find_first_not_of("0123456789") == std::string::npos;
            if (look() == '.' || (!behind_digits && !is_digit(look()))) {
                unread('.');
                return text;
            }
            text += '.';
        } else {
            return text;
        }
    }
}

/// `0:10.0`: minutes, seconds and frames. What is not that, as a label's colon, is left.
void Lexer::read_frames_behind_colon(std::string& text) {
    std::string added(1, static_cast<char>(read()));
    while (is_digit(look()))
        added += static_cast<char>(read());
    if (added.size() > 1 && look() == '.') {
        added += static_cast<char>(read());
        if (is_digit(look())) {
            while (is_digit(look()))
                added += static_cast<char>(read());
            text += added;
            return;
        }
    }
    std::for_each(added.rbegin(), added.rend(), [this](char character) { unread(character); });
}

void Lexer::read_number(Token& token, int first) {
    token.text = read_number_text(first);
    if (look() == ':' && std::all_of(token.text.begin(), token.text.end(), is_digit))
        read_frames_behind_colon(token.text);
    finish_number(token);
}

void Lexer::finish_number(Token& token) {
    const std::string lower = lower_case(token.text);
    const std::string_view text = lower;
    if (text.size() > 1 && text[1] == 'x') return finish_integer(token, text.substr(2), 16);
    if (text.find_first_not_of("0123456789") == std::string_view::npos)
        return finish_integer(token, text, 10);
    if (text.find_first_not_of("0123456789") == text.size() - 1 &&
        (text.back() == 'l' || text.back() == 'p')) {
        finish_integer(token, text.substr(0, text.size() - 1), 10);
        token.kind = TokenKind::integer64;
        return;
    }
    if (read_time(text, token.real, token.frames, token.integer)) {
        token.kind = TokenKind::time;
        return;
    }
    finish_real(token, lower);
}

void Lexer::finish_integer(Token& token, std::string_view digits, int base) {
    const char* last = digits.data() + digits.size();
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(digits.data(), last, number, base);
    if (end != last || digits.empty()) fail("this is no number: " + token.text.substr(0, 40), token.line);
    const bool suffixed = token.text.size() != digits.size() && base == 10;
    // The smallest integer has no positive counterpart: its digits are its own negative, so that the minus sign
    // in front changes nothing.
    const bool smallest = m_after_minus && number == 2147483648U;
    const std::uint64_t most = suffixed ? INT64_MAX : base == 16 ? UINT32_MAX : smallest ? number : INT32_MAX;
    if (error != std::errc() || number > most)
        fail("this number is out of range: " + token.text.substr(0, 40), token.line);
    token.kind = TokenKind::integer;
    token.integer = suffixed ? static_cast<std::int64_t>(number) : static_cast<std::int32_t>(number);
}

void Lexer::finish_real(Token& token, std::string digits) {
    token.kind = TokenKind::real;
    if (digits.back() == 'p') {
        token.kind = TokenKind::double_real;
        digits.pop_back();
    } else if (const std::size_t exponent = digits.find('d'); exponent != std::string::npos) {
        token.kind = TokenKind::double_real;
        digits[exponent] = 'e';
    }
    const char* last = digits.data() + digits.size();
    const auto [end, error] = std::from_chars(digits.data(), last, token.real);
    if (end != last) fail("this is no number: " + token.text.substr(0, 40), token.line);
    const bool tiny = error == std::errc::result_out_of_range && digits.find("e-") != std::string::npos;
    // What is too small is zero.
    if (tiny) token.real = 0;
    const bool fits = token.kind == TokenKind::double_real ||
                      token.real <= static_cast<double>(std::numeric_limits<float>::max());
    if ((error != std::errc() && !tiny) || !fits)
        fail("this number is out of range: " + token.text.substr(0, 40), token.line);
}

void Lexer::read_quoted(std::string& text, int line) {
    for (int character = read(); character != '\''; character = read()) {
        if (character < 0 || character == '\n') fail("a ' is missing at the end of a quoted name", line);
        text += static_cast<char>(character);
    }
}

void Lexer::read_word(Token& token, int first) {
    token.quoted = first == '\'';
    if (token.quoted) {
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
    if (!token.quoted && is_reserved_word(token.key)) token.kind = TokenKind::reserved;
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

/// `$`, `$name`, `$'two words'`, `$prefix*`, `$parent/child`, `$set...`.
void Lexer::read_path(Token& token) {
    token.kind = TokenKind::path;
    for (;;) {
        const int character = look();
        if (is_word_character(character) ||
            (character > 0 && path_signs.find(static_cast<char>(character)) != std::string_view::npos)) {
            token.text += static_cast<char>(read());
        } else if (character == '\'') {
            read();
            read_quoted(token.text, token.line);
        } else if (character == '.' && read_dots(token.text)) {
            continue;
        } else {
            return;
        }
    }
}

/// `...` at the end of a level stands for all that is below it; a single point asks for a property.
bool Lexer::read_dots(std::string& text) {
    int dots = 0;
    while (dots < 3 && look() == '.') {
        read();
        ++dots;
    }
    if (dots == 3) {
        text += "...";
        return true;
    }
    for (; dots > 0; --dots)
        unread('.');
    return false;
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

void Lexer::read_verbatim(Token& token, char quote) {
    token.kind = TokenKind::text;
    for (int character = read(); character != quote; character = read()) {
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
    if (second > 0) {
        const std::string both = token.text + static_cast<char>(second);
        if (std::find(two_character_signs.begin(), two_character_signs.end(), both) !=
            two_character_signs.end()) {
            token.text = both;
            read();
            return;
        }
    }
    if (one_character_signs.find(static_cast<char>(first)) == std::string_view::npos)
        fail("unexpected " + shown(first), token.line);
}

}  // namespace corrivane::host
