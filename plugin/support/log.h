#pragma once

#include <windows.h>

#include <locale>
#include <mutex>
#include <sstream>
#include <string>

/// The diagnostic log: lines of text, no timestamps, each on disk before the call that wrote it returns, so
/// that the file is complete up to its last line even when 3ds Max dies.
///
/// Starts closed. While it is closed, and for good if it could not be opened, entries are discarded in
/// silence. Entries may come from any thread and never mix within a line.
class log_stream {
public:
    log_stream() = default;
    ~log_stream();
    log_stream(const log_stream&) = delete;
    log_stream& operator=(const log_stream&) = delete;

    /// Opens the file for writing and empties it. Its folder is not created. Others may read and write it
    /// meanwhile.
    void open(const char* path);

    /// Writes the values one after another, as an output stream formats them by default, and ends the line.
    template <typename... Values>
    void entry(const Values&... values) {
        if (m_file == INVALID_HANDLE_VALUE) return;
        std::ostringstream line;
        line.imbue(std::locale::classic());
        ((line << values), ...);
        line << '\n';
        write(line.str());
    }

private:
    void write(const std::string& line);

    HANDLE m_file = INVALID_HANDLE_VALUE;
    std::mutex m_mutex;
};

/// The one log of the library.
extern log_stream connect_log;

/// Where connect_log is kept.
inline constexpr const char* connect_log_path = "c:/Quillane/logs/3dsmaxConnect.log";

/// Writes the entry that tells which thread is calling.
void log_calling_thread();
