#include <max/maxscript/exceptions.h>
#include <max/maxscript/streams.h>

RuntimeError::RuntimeError(const char* message) : m_message(message == nullptr ? "" : message) {}

void RuntimeError::sprin1(CharStream* stream) {
    stream->puts("-- Runtime error: ");
    stream->write(m_message.data(), m_message.size());
}
