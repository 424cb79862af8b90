#pragma once

#include <string>

/// Sends a script's text to the worker's log, or prints it to the Listener while there is no session.
void log_message(const std::string& message);

/// Run one job operation by hand, without a worker. Whatever goes wrong is printed to the Listener and
/// logged; the result tells whether it went right.
bool debug_start_job(const std::string& file_name, const std::string& camera_name);
bool debug_render_frame(int frame);
bool debug_end_job();
