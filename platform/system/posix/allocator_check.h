#pragma once

namespace system_detail {

// Returns when the calling thread can allocate. A fault inside the allocator leaves its lock held by the
// thread that abandoned it, which would wait for itself at its next allocation, for good: then the process
// ends by the signal that the fault came with, after a few seconds. A node that died is started again; one
// that hangs is not.
void end_process_if_allocator_is_stuck(int signal);

}  // namespace system_detail
