#include "maxscript/listener.h"

#include "maxscript/errors.h"
#include "maxscript/file_access.h"
#include "maxscript/values.h"

#include <system/plain_files.h>

#include <cerrno>
#include <cstring>
#include <new>
#include <stdexcept>

namespace corrivane::host {

ListenerStream& listener_stream() {
    // Never destroyed: libraries print while the program ends.
    alignas(ListenerStream) static std::byte storage[sizeof(ListenerStream)];
    static auto* const listener = ::new (storage) ListenerStream;
    return *listener;
}

void ListenerStream::set_log(const std::string& file) {
    if (m_log != nullptr) std::fclose(m_log);
    m_log = nullptr;
    if (file.empty()) return;
    m_log = open_machine_file_for_writing(file, false);
    if (m_log == nullptr)
        throw std::runtime_error("The Listener's log " + file +
                                 " cannot be opened: " + plain_file_error(errno));
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
    raise_runtime_error("Nothing can be read from the Listener");
}

}  // namespace corrivane::host
