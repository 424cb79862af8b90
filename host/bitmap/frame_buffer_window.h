#pragma once

#include <max/bitmap.h>

#include <string>

namespace corrivane::host {

/// The frame-buffer window that the last call of Bitmap::Display asked for. The host has no screen: windows
/// are recorded, not shown. The main thread's.
struct FrameBufferWindow {
    std::string title;
    int position = 0;
    bool autonomous = false;
    bool save_button = false;
    int width = 0;
    int height = 0;
    /// Until UnDisplay, or until its bitmap is given back.
    bool open = false;
    /// Windows opened so far, this one included; 0 when there was none.
    int number = 0;
};
const FrameBufferWindow& last_frame_buffer_window();

/// Records the window of `owner`; `number` and `open` are set here.
void open_frame_buffer_window(const Bitmap& owner, FrameBufferWindow window);
/// The window of `owner` is gone, if the last one is its own.
void close_frame_buffer_window(const Bitmap& owner);

}  // namespace corrivane::host
