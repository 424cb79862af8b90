#include "support/log.h"

log_stream::~log_stream() {
    if (m_file != INVALID_HANDLE_VALUE) CloseHandle(m_file);
}

void log_stream::open(const char* path) {
    m_file = CreateFileA(path, GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, CREATE_ALWAYS,
                         FILE_ATTRIBUTE_NORMAL, nullptr);
}

void log_stream::write(const std::string& line) {
    const std::lock_guard lock(m_mutex);
    DWORD written = 0;
    WriteFile(m_file, line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
}

void log_calling_thread() {
    connect_log.entry("Thread: ", GetCurrentThreadId());
}
