#pragma once

#include <max/core_interface.h>

#include <string>

namespace corrivane::host {

/// 3ds Max's own log: each entry is one line on standard error, "[error] title: text". Dialogs are not shown.
/// May be used from any thread.
class SystemLog final : public LogSys {
public:
    void LogEntry(DWORD type, BOOL dialog, const char* title, const char* format, ...) override
        __attribute__((format(printf, 5, 6)));

    void error(const std::string& title, const std::string& text);
    void warning(const std::string& title, const std::string& text);
};

}  // namespace corrivane::host
