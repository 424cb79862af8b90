#pragma once

#include "net/simple_socket.h"

#include <max/types.h>

struct JobState;

/// Calls the renderer: once into the frame's main bitmap, or once for each pass of the camera's multi-pass
/// effect, which accumulates the passes there. The elements' bitmaps are rendered along. Throws
/// std::runtime_error when the renderer fails, was stopped or faults.
void render_image(JobState& job, TimeValue time, quorvel::win32::simple_socket& socket);
