#include "maxscript/machine/listener.h"

#include "maxscript/machine/values.h"

#include <max/maxscript/exceptions.h>

#include <cstring>
#include <new>

namespace corrivane::host {

ListenerStream& listener_stream() {
    // Never destroyed: libraries print while the program ends.
    alignas(ListenerStream) static std::byte storage[sizeof(ListenerStream)];
    static auto* const listener = ::new (storage) ListenerStream;
    return *listener;
}

void ListenerStream::set_log(std::FILE* log) {
    if (m_log != nullptr) std::fclose(m_log);
    m_log = log;
}

const ValueMetaClass& ListenerStream::value_class() const {
    return Listener_class;
}

void ListenerStream::sprin1(CharStream* stream) {
    stream->puts("<Listener>");
}

void ListenerStream::puts(const char* text) {
    write(text, std::strlen(text));
}

// Flushed at once: a farm reads the output of a host that may end at any moment.
void ListenerStream::write(const char* text, std::size_t size) {
    if (m_stdout) {
        std::fwrite(text, 1, size, stdout);
        std::fflush(stdout);
    }
    if (m_log != nullptr) {
        std::fwrite(text, 1, size, m_log);
        std::fflush(m_log);
    }
    if (m_receiver) m_receiver({text, size});
}

int ListenerStream::get_char() {
    throw RuntimeError("Nothing can be read from the Listener");
}

}  // namespace corrivane::host
