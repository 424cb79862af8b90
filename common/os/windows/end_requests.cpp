#include "os/end_requests.h"

#include <windows.h>

#include <atomic>
#include <cmath>

namespace corrivane {

namespace {

constexpr int interrupt_exit_code = 130;

std::atomic<bool> g_requested = false;
bool (*g_ends_by_itself)() = nullptr;

HANDLE stop_event() {
    static const HANDLE event = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    return event;
}

/// Runs on a thread of its own; what returns FALSE leaves the rest to the system, which ends the program.
BOOL WINAPI handle(DWORD /*kind*/) {
    g_requested = true;
    if (g_ends_by_itself()) Sleep(1000);
    return FALSE;
}

}  // namespace

void handle_end_requests(bool (*ends_by_itself)()) {
    g_ends_by_itself = ends_by_itself;
    SetConsoleCtrlHandler(handle, TRUE);
}

int end_request_exit_code() {
    return g_requested ? interrupt_exit_code : 0;
}

void set_stop_event() {
    SetEvent(stop_event());
}

void wait_for_stop_event(double seconds) {
    WaitForSingleObject(stop_event(), static_cast<DWORD>(std::ceil(seconds * 1000)));
}

}  // namespace corrivane
