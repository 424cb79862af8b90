#pragma once

#include <string>

// What the published functions of these names do.

/// Sends a script's text to the worker's log, or prints it to the Listener while there is no session.
void LogMessage(const std::string& message);

/// Run one job operation by hand, without a worker. Whatever goes wrong is printed to the Listener and
/// logged; the result tells whether it went right.
bool Debug_StartJob(const std::string& fileName, const std::string& cameraName);
bool Debug_RenderFrame(int frameIndex);
bool Debug_EndJob();
