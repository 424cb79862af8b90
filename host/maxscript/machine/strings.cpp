#include "maxscript/machine/heap.h"

#include <max/maxscript/streams.h>
#include <max/maxscript/value.h>

#include <cstring>
#include <string>

/// The characters of a String, with what the heap knows of them.
struct String::Text {
    Text(const char* text, std::size_t size) {
        held.update(size);
        characters.assign(text, size);
    }

    corrivane::host::HeldBytes held;
    std::string characters;
};

String::String(const char* text) : String(text, std::strlen(text)) {}

String::String(const char* text, std::size_t size) : m_text(new Text(text, size)) {}

String::~String() {
    delete m_text;
}

const char* String::to_string() {
    return m_text->characters.c_str();
}

std::size_t String::size() const {
    return m_text->characters.size();
}

void String::replace(std::size_t first, std::size_t count, const std::string& text) {
    m_text->held.update(m_text->characters.size() + text.size());
    m_text->characters.replace(first, count, text);
}

void String::sprin1(CharStream* stream) {
    std::string printed = "\"";
    for (const char character : m_text->characters) {
        if (character == '"') printed += '\\';
        printed += character;
    }
    printed += '"';
    stream->write(printed.data(), printed.size());
}
