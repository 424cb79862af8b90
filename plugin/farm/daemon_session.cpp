#include "farm/daemon_session.h"

#include "net/farm_protocol.h"
#include "render/job_state.h"
#include "support/log.h"
#include "support/message_pump.h"

#include <stdexcept>

namespace {

using quorvel::win32::simple_socket_disconnect_error;
using quorvel::win32::simple_socket_timeout_error;

constexpr const char* worker_address = "127.0.0.1";
constexpr int handshake_timeout_ms = 1000;
constexpr int command_poll_ms = 200;

std::string greeting() {
    return std::string(corrivane::greeting_prefix) + plugin_version + " " +
           make_build_stamp(__DATE__, __TIME__);
}

void shake_hands(const std::string& token) {
    session_socket.send(token);
    const std::string word = session_socket.receive(handshake_timeout_ms);
    if (word == corrivane::handshake_word) {
        session_socket.send(greeting());
        return;
    }
    session_socket.send(greeting().append(corrivane::incompatible_note));
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

}  // namespace

std::string make_build_stamp(const std::string& buildDate, const std::string& buildTime) {
    return buildDate + " " + buildTime + " R";
}

void run_daemon_session(int port, const std::string& token) {
    session_socket.connect(worker_address, port);
    shake_hands(token);
    while (session_socket.is_connected())
        serve_next_command();
}
