#include "maxscript/machine/values.h"
#include "maxscript/streams/text_reader.h"

#include <max/maxscript/streams.h>

#include <cstring>

struct StringStream::Buffer {
    corrivane::host::TextReader reader;
};

StringStream::StringStream() : m_buffer(new Buffer) {}

StringStream::StringStream(const char* text) : StringStream() {
    m_buffer->reader.set_text(text);
}

StringStream::~StringStream() {
    delete m_buffer;
}

const ValueMetaClass& StringStream::value_class() const {
    return corrivane::host::StringStream_class;
}

const char* StringStream::to_string() {
    return m_buffer->reader.text().c_str();
}

void StringStream::sprin1(CharStream* stream) {
    stream->puts("StringStream:\"");
    stream->write(m_buffer->reader.text().data(), m_buffer->reader.text().size());
    stream->puts("\"");
}

void StringStream::puts(const char* text) {
    write(text, std::strlen(text));
}

void StringStream::write(const char* text, std::size_t size) {
    m_buffer->reader.append(text, size);
}

int StringStream::get_char() {
    return m_buffer->reader.get();
}

void StringStream::unget_char() {
    m_buffer->reader.unget();
}

bool StringStream::at_eos() {
    return m_buffer->reader.at_end();
}

void StringStream::flush_whitespace() {
    m_buffer->reader.skip_whitespace();
}

std::ptrdiff_t StringStream::tell() {
    return static_cast<std::ptrdiff_t>(m_buffer->reader.position());
}

bool StringStream::seek(std::ptrdiff_t place) {
    m_buffer->reader.seek(static_cast<std::size_t>(place));
    return true;
}

void StringStream::close() {
    m_buffer->reader.clear();
}

SourcePosition StringStream::position() const {
    return {{}, m_buffer->reader.line()};
}
