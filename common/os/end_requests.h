#pragma once

namespace corrivane {

/// What somebody does who wants the program to end: SIGTERM and SIGINT, or the console's buttons on Windows.
///
/// Calls `ends_by_itself` for the first one, on a signal handler's stack or on a thread of its own. If that returns
/// true, the program has a second to end; otherwise, and after that, it ends as one does that handles nothing.
void handle_end_requests(bool (*ends_by_itself)());

/// What a program's exit code tells of such a request, 128 + the signal's number; 0 while there has been none.
int end_request_exit_code();

/// Ends all waits, from now on for ever. May be called by a signal handler.
void set_stop_event();

/// Waits so many seconds, or until the event is set.
void wait_for_stop_event(double seconds);

}  // namespace corrivane
