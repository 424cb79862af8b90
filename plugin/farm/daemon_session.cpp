#include "farm/daemon_session.h"

#include "net/farm_protocol.h"
#include "quorvel/max3d/maxscript.h"
#include "render/job_state.h"
#include "support/exception_report.h"
#include "support/guarded_call.h"
#include "support/log.h"
#include "support/message_pump.h"

#include <max/exceptions.h>
#include <windows.h>

#include <new>
#include <stdexcept>

namespace {

using quorvel::win32::simple_socket_disconnect_error;
using quorvel::win32::simple_socket_error;
using quorvel::win32::simple_socket_timeout_error;

constexpr const char* worker_address = "127.0.0.1";
constexpr int handshake_timeout_ms = 1000;
constexpr int command_poll_ms = 200;
constexpr DWORD pause_after_failure_ms = 150;

std::string greeting() {
    return std::string(corrivane::k_greeting_prefix) + plugin_version + " " +
           make_build_stamp(__DATE__, __TIME__);
}

void shake_hands(const std::string& token) {
    session_socket.send(token);
    const std::string word = session_socket.receive(handshake_timeout_ms);
    if (word == corrivane::k_handshake_word) {
        session_socket.send(greeting());
        return;
    }
    session_socket.send(greeting().append(corrivane::k_incompatible_note));
    throw std::runtime_error("Incorrect handshake with Quillane plugin.");
}

void serve_next_command() {
    try {
        const std::string command = session_socket.receive(command_poll_ms);
        // Its fields follow at once, or else what is wrong with it; the worker waits for each write.
        connect_log.entry_before_next("\nGot command: ", command, "\n");
        job_state.ProcessCommand(command, session_socket);
    } catch (const simple_socket_timeout_error&) {
        pump_messages();
    } catch (const simple_socket_disconnect_error&) {
        // The socket is closed now, which ends the session.
    }
}

void run_daemon_session(int port, const std::string& token) {
    session_socket.connect(worker_address, port);
    shake_hands(token);
    while (session_socket.is_connected())
        serve_next_command();
}

bool run_daemon_guarded(int port, const std::string& token, std::string& error_text) {
    error_text.clear();
    auto session = [&] { run_daemon_session(port, token); };
    const quorvel::max3d::scoped_maxscript_frame frame;
    const int frames_around = job_state.framesUnderWay;
    const DWORD code = guarded_call(job_state, session);
    if (code != 0) {
        job_state.framesUnderWay = frames_around;  // a frame that the fault abandoned is over
        error_text = std::string("SEH Exception trapped in 3ds max: ") + seh_exception_name(code);
        return false;
    }
    connect_log.entry("Returning TRUE");
    return true;
}

/// Logs what ended the session and tells the worker, if it is still there.
void report_failure(const std::string& log_line, const std::string& reply) {
    connect_log.entry(log_line);
    try {
        // Cut to what a message holds: a worker that hears nothing would wait.
        if (session_socket.is_connected())
            session_socket.send(reply.substr(0, corrivane::k_max_sent_payload));
    } catch (const simple_socket_error& error) {
        connect_log.entry("Exception: ", error.what());
    }
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
                       std::string(corrivane::reply::k_maxscript_error) + description);
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

std::string make_build_stamp(const std::string& build_date, const std::string& build_time) {
    return build_date + " " + build_time + " R";
}

bool run_corrivane_daemon(int port, const std::string& token) {
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

    std::string error_text;
    bool closed_by_worker = false;
    try {
        closed_by_worker = run_daemon_guarded(port, token, error_text);
    } catch (...) {
        report_current_exception();
    }
    if (!error_text.empty())
        report_failure("SEH exception caught",
                       "ERROR: SEH exception: " + error_text + "\n" + job_state.GetLastExceptionReport());
    return closed_by_worker;
}
