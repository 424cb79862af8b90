#pragma once

#include <system/text_files.h>
#include <windows.h>

#include <locale>
#include <mutex>
#include <sstream>
#include <string>
#include <string_view>
#include <type_traits>

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

    /// Opens the file for writing and empties it. Its folder is not created. Others may read and write
    /// it meanwhile.
    void open(const char* path);

    /// Writes the values one after another, as an output stream formats them by default, and ends the line.
    template <typename... Values>
    void entry(const Values&... values) {
        if (m_file != INVALID_HANDLE_VALUE) write(format_line(values...));
    }

    /// The same, but the line goes to disk together with the next entry, in its order: for a line that
    /// another follows whatever happens, when somebody waits for both.
    template <typename... Values>
    void entry_before_next(const Values&... values) {
        if (m_file != INVALID_HANDLE_VALUE) hold(format_line(values...));
    }

private:
    template <typename... Values>
    static std::string format_line(const Values&... values) {
        std::string line;
        (append(line, values), ...);
        line += '\n';
        end_lines_as_text_streams_do(line);
        return line;
    }

    template <typename Value>
    static void append(std::string& line, const Value& value) {
        if constexpr (std::is_convertible_v<const Value&, std::string_view>) {
            line.append(value);
        } else {
            std::ostringstream text;
            text.imbue(std::locale::classic());
            text << value;
            line.append(text.str());
        }
    }

    void write(const std::string& line);
    void hold(const std::string& line);

    HANDLE m_file = INVALID_HANDLE_VALUE;
    std::mutex m_mutex;
    std::string m_held;
};

/// The one log of the library.
extern log_stream connect_log;

/// Where connect_log is kept.
inline constexpr const char* connect_log_path = "c:/Quillane/logs/3dsmaxConnect.log";

/// Writes the entry that tells which thread is calling.
void log_calling_thread();
