#include "farm/daemon_session.h"
#include "maxscript/corrivane_interface.h"
#include "net/farm_protocol.h"
#include "quorvel/max3d/maxscript.h"
#include "render/guard.h"
#include "support/log.h"

#include <max/exceptions.h>
#include <windows.h>

#include <new>
#include <stdexcept>

namespace {

constexpr DWORD pause_after_failure_ms = 150;

/// Logs what ended the session and tells the worker, if it is still there.
void report_failure(const std::string& log_line, const std::string& reply) {
    connect_log.entry(log_line);
    if (session_socket.is_connected()) session_socket.send(reply);
    Sleep(pause_after_failure_ms);
}

void report_current_exception() {
    try {
        throw;
    } catch (const std::bad_alloc&) {
        report_failure(
            "Exception: std::bad_alloc",
            "ERROR: Exception caught in 3ds max: Out of memory.  There was not enough memory available to "
            "fulfill a memory request.");
    } catch (const std::exception& error) {
        report_failure(std::string("Exception: ") + error.what(),
                       std::string("ERROR: Exception caught in 3ds max: ") + error.what());
    } catch (const MAXException& error) {
        report_failure("MAXException: " + error.message,
                       "ERROR: MAXException caught in 3ds max: " + error.message);
    } catch (MAXScriptException& error) {
        const std::string description = quorvel::max3d::maxscript_exception_text(error);
        report_failure("Maxscript exception caught: " + description,
                       std::string(corrivane::reply::maxscript_error) + description);
    } catch (...) {
        report_failure("Unknown exception caught",
                       "ERROR: Unknown exception caught. (3ds max may have crashed)");
    }
}

/// Sets the flag for as long as it lives.
class running_flag {
public:
    running_flag() { daemon_running = true; }
    ~running_flag() { daemon_running = false; }
    running_flag(const running_flag&) = delete;
    running_flag& operator=(const running_flag&) = delete;
};

}  // namespace

bool CorrivaneInterface::RunDaemonGuarded(int port, const std::string& token, std::string& errorText) {
    if (!run_guarded(job_state, "SEH Exception trapped in 3ds max: ", errorText,
                     [&] { run_daemon_session(port, token); }))
        return false;
    connect_log.entry("Returning TRUE");
    return true;
}

bool CorrivaneInterface::RunCorrivaneDaemon(int portNumber, const std::string& token) {
    log_calling_thread();
    if (daemon_running) {
        constexpr const char* refusal =
            "RunCorrivaneDaemon() was executed while the daemon is already running.";
        connect_log.entry(refusal);
        quorvel::max3d::maxscript_output()->printf("%s", refusal);
        return false;
    }
    const running_flag running;
    connect_log.entry("running daemon...");

    std::string errorText;
    bool closed_by_worker = false;
    try {
        closed_by_worker = RunDaemonGuarded(portNumber, token, errorText);
    } catch (...) {
        report_current_exception();
    }
    if (!errorText.empty())
        report_failure("SEH exception caught",
                       "ERROR: SEH exception: " + errorText + "\n" + job_state.GetLastExceptionReport());
    return closed_by_worker;
}
