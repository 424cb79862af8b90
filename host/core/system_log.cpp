#include "core/system_log.h"

#include <cstdarg>
#include <cstdio>

namespace corrivane::host {

namespace {

/// Written in one piece, so that lines of several threads do not mix.
void write_line(const char* kind, const std::string& title, const std::string& text) {
    const std::string line = "[" + std::string(kind) + "] " + title + ": " + text + "\n";
    std::fputs(line.c_str(), stderr);
}

std::string formatted(const char* format, va_list arguments) {
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, again);
    va_end(again);
    if (length < 0) {
        return format;
    }
    std::string text(static_cast<std::size_t>(length), '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, arguments);
    return text;
}

}  // namespace

void SystemLog::LogEntry(DWORD type, BOOL /*dialog*/, const char* title, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const std::string text = formatted(format, arguments);
    va_end(arguments);
    write_line(type == SYSLOG_ERROR ? "error" : "note", title == nullptr ? "" : title, text);
}

void SystemLog::error(const std::string& title, const std::string& text) {
    write_line("error", title, text);
}

void SystemLog::warning(const std::string& title, const std::string& text) {
    write_line("warning", title, text);
}

}  // namespace corrivane::host
