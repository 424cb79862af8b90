#include <system/message_window.h>

HWND create_message_window(WNDPROC procedure) {
    constexpr const char* name = "corrivane message window";
    const HINSTANCE program = GetModuleHandleA(nullptr);
    WNDCLASSA window_class{};
    window_class.lpfnWndProc = DefWindowProcA;
    window_class.hInstance = program;
    window_class.lpszClassName = name;
    RegisterClassA(&window_class);  // again is no harm
    const HWND window = CreateWindowExA(0, name, "", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, program, nullptr);
    // Only from here on: a window is told of its own creation.
    if (window != nullptr) SetWindowLongPtrA(window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(procedure));
    return window;
}

void destroy_message_window(HWND window) {
    SetWindowLongPtrA(window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&DefWindowProcA));
    DestroyWindow(window);
}
