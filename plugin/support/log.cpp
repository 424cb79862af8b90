#include "support/log.h"

log_stream::~log_stream() {
    if (m_file == INVALID_HANDLE_VALUE) return;
    if (!m_held.empty()) write({});
    CloseHandle(m_file);
}

void log_stream::open(const char* path) {
    // For appending, so that a second process with the same log loses nothing of the first one's.
    m_file = CreateFileA(path, FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, CREATE_ALWAYS,
                         FILE_ATTRIBUTE_NORMAL, nullptr);
}

void log_stream::write(const std::string& line) {
    const std::lock_guard lock(m_mutex);
    if (!m_held.empty()) m_held.append(line);
    const std::string& text = m_held.empty() ? line : m_held;
    DWORD written = 0;
    WriteFile(m_file, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
    m_held.clear();
}

void log_stream::hold(const std::string& line) {
    const std::lock_guard lock(m_mutex);
    m_held.append(line);
}

void log_calling_thread() {
    connect_log.entry("Thread: ", GetCurrentThreadId());
}
