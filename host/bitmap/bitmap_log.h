#pragma once

#include <string>

namespace corrivane::host {

enum class BitmapLogKind { error, warning };

/// Receives why a bitmap was not made or a file not written, or what is odd about one that was: the call,
/// "OpenOutput", and a text that names the file and the reason.
using BitmapLog = void (*)(BitmapLogKind kind, const std::string& call, const std::string& text);

/// Where that goes from now on; at first nowhere. The main thread's.
void set_bitmap_log(BitmapLog log);

void log_bitmap_failure(const std::string& call, const std::string& text);
void log_bitmap_warning(const std::string& call, const std::string& text);

}  // namespace corrivane::host
