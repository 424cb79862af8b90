#include "bitmap/frame_buffer_window.h"

#include <utility>

namespace corrivane::host {

namespace {

struct Record {
    const Bitmap* owner = nullptr;
    FrameBufferWindow window;
};

Record& last_record() {
    static Record record;
    return record;
}

}  // namespace

const FrameBufferWindow& last_frame_buffer_window() {
    return last_record().window;
}

void open_frame_buffer_window(const Bitmap& owner, FrameBufferWindow window) {
    Record& last = last_record();
    window.number = last.window.number + 1;
    window.open = true;
    last = {&owner, std::move(window)};
}

void close_frame_buffer_window(const Bitmap& owner) {
    Record& last = last_record();
    if (last.owner != &owner) return;
    last.owner = nullptr;
    last.window.open = false;
}

}  // namespace corrivane::host
