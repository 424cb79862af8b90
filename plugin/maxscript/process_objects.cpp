#include "farm/daemon_session.h"
#include "maxscript/corrivane_interface.h"
#include "net/simple_socket.h"
#include "render/job_state.h"
#include "support/log.h"

// Everything that lives from the library's load to its unload. One file holds it all, because the order
// counts: constructed from top to bottom, destroyed from bottom to top. The job state opens the log, every
// destructor may still write to it, and the interface is published when all that it reaches is there.

log_stream connect_log;
JobState job_state;
bool daemon_running = false;
quorvel::win32::simple_socket session_socket;
CorrivaneInterface quillane_util;
