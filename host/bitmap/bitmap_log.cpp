#include "bitmap/bitmap_log.h"

namespace corrivane::host {

namespace {

BitmapLog bitmap_log = nullptr;

}  // namespace

void set_bitmap_log(BitmapLog log) {
    bitmap_log = log;
}

void log_bitmap_failure(const std::string& call, const std::string& text) {
    if (bitmap_log != nullptr) bitmap_log(BitmapLogKind::error, call, text);
}

void log_bitmap_warning(const std::string& call, const std::string& text) {
    if (bitmap_log != nullptr) bitmap_log(BitmapLogKind::warning, call, text);
}

}  // namespace corrivane::host
