#pragma once

#include <string_view>

namespace corrivane::worker {

/// Whether a frame's error, as the plug-in says it, is one that every frame of the job will have: a folder that is
/// not there or may not be written to, a full disk, a name or a format that cannot be.
bool is_fault_of_every_frame(std::string_view error);

}  // namespace corrivane::worker
