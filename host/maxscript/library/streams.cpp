#include "maxscript/language/parser.h"
#include "maxscript/library/library.h"
#include "maxscript/machine/signature.h"

#include <max/maxscript/streams.h>

#include <string_view>

namespace corrivane::host {

namespace {

[[noreturn]] void raise_at_end(CharStream& stream) {
    raise_runtime_error("Read beyond end of file: " + excerpt(&stream));
}

/// Up to one of the characters, which is read too, or the end.
std::string read_up_to(CharStream& stream, std::string_view ends) {
    if (stream.at_eos()) raise_at_end(stream);
    std::string text;
    for (int character = stream.get_char(); character >= 0; character = stream.get_char()) {
        if (ends.find(static_cast<char>(character)) != std::string_view::npos) break;
        text += static_cast<char>(character);
    }
    return text;
}

std::string read_line(CharStream& stream) {
    std::string line = read_up_to(stream, "\n");
    if (!line.empty() && line.back() == '\r') line.pop_back();
    return line;
}

std::string read_char(CharStream& stream) {
    if (stream.at_eos()) raise_at_end(stream);
    return std::string(1, static_cast<char>(stream.get_char()));
}

/// `readChars stream count errorAtEOF:true`.
std::string read_chars(CharStream& stream, int count, const Keyword<"errorAtEOF", bool>& strict) {
    std::string text;
    while (static_cast<int>(text.size()) < count && !stream.at_eos())
        text += static_cast<char>(stream.get_char());
    if (static_cast<int>(text.size()) < count && strict.value_or(true)) raise_at_end(stream);
    return text;
}

std::string read_delimited(CharStream& stream, const std::string& delimiters) {
    return read_up_to(stream, delimiters);
}

/// Goes behind the text; undefined where it does not come, and the stream is then at its end.
Value* skip_to_string(CharStream& stream, const std::string& wanted) {
    std::string seen;
    while (!seen.ends_with(wanted)) {
        if (stream.at_eos()) return &undefined;
        seen += static_cast<char>(stream.get_char());
        if (seen.size() > wanted.size()) seen.erase(0, seen.size() - wanted.size());
    }
    return &ok;
}

void skip_to_next_line(CharStream& stream) {
    while (!stream.at_eos() && stream.get_char() != '\n') {
    }
}

/// Up to the end of the line.
Value* read_expression(CharStream& stream) {
    stream.flush_whitespace();
    if (stream.at_eos()) raise_at_end(stream);
    Value* value = run_expression(stream);
    return value != nullptr ? value : &undefined;
}

/// The text of the next literal: up to a blank or a comma outside of quotes and brackets.
std::string literal_text(CharStream& stream) {
    std::string text;
    int depth = 0;
    bool quoted = false;
    while (!stream.at_eos()) {
        const char character = static_cast<char>(stream.get_char());
        const bool ends =
            depth == 0 && !quoted && std::string_view(" \t\r\n,;").find(character) != std::string_view::npos;
        if (ends) {
            stream.unget_char();
            break;
        }
        text += character;
        if (character == '"') quoted = !quoted;
        if (quoted) continue;
        depth += static_cast<int>(std::string_view("([{").find(character) != std::string_view::npos);
        depth -= static_cast<int>(std::string_view(")]}").find(character) != std::string_view::npos);
        if (depth == 0 && std::string_view(")]}\"").find(character) != std::string_view::npos) break;
    }
    return text;
}

/// The next literal of a stream: a number, a text, a name, a time, an array and the like.
Value* read_value(CharStream& stream) {
    stream.flush_whitespace();
    if (stream.at_eos()) raise_at_end(stream);
    auto* literal = new StringStream(literal_text(stream).c_str());
    const Rooted root(literal);
    Value* value = run_stream(*literal);
    return value != nullptr ? value : &undefined;
}

/// `seek stream #eof` or `seek stream 12`.
void seek(CharStream& stream, Value* place) {
    std::ptrdiff_t position = PTRDIFF_MAX;
    if (const auto* name = value_as<NameValue>(place)) {
        if (name->key() != "eof") raise_conversion_error(place, "Integer");
    } else {
        position = to_integer(place);
    }
    if (position < 0 || !stream.seek(position))
        raise_runtime_error("Cannot seek to " + printed_form(place) + " in " + excerpt(&stream));
}

int file_position(CharStream& stream) {
    return static_cast<int>(stream.tell());
}

bool at_end(CharStream& stream) {
    return stream.at_eos();
}

}  // namespace

void define_stream_functions() {
    define_functions({
        {"readLine", read_line},
        {"readChar", read_char},
        {"readChars", read_chars},
        {"readDelimitedString", read_delimited},
        {"readValue", read_value},
        {"readExpr", read_expression},
        {"skipToString", skip_to_string},
        {"skipToNextLine", skip_to_next_line},
        {"seek", seek},
        {"filePos", file_position},
        {"eof", at_end},
        {"flush", [](CharStream& stream) { stream.flush(); }},
        {"close", [](CharStream& stream) { stream.close(); }},
        {"free", [](CharStream& stream) { stream.close(); }},
    });
}

}  // namespace corrivane::host
