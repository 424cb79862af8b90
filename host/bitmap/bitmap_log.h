#pragma once

#include <string>

namespace corrivane::host {

/// Receives why a bitmap was not made or a file not written: the call, "OpenOutput", and a text that names
/// the file and the reason.
using BitmapLog = void (*)(const std::string& call, const std::string& text);

/// Where that goes from now on; at first nowhere. The main thread's.
void set_bitmap_log(BitmapLog log);

void log_bitmap_failure(const std::string& call, const std::string& text);

}  // namespace corrivane::host
