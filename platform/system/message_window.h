// Windows that exist only to receive messages, so that a program can see its thread's queue being drained.
#pragma once

#include <windows.h>

// A window of the calling thread; DispatchMessageA runs `procedure` on that thread. Destroy it there too,
// before the thread ends.
HWND create_message_window(WNDPROC procedure);

// Messages that still wait for the window are dropped. What is no window of the calling thread is left alone.
void destroy_message_window(HWND window);
