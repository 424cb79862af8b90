#pragma once

#include "net/simple_socket.h"

#include <corrivane_version.h>

#include <string>

/// The one socket of the farm link. A session connects it and never closes it itself.
extern quorvel::win32::simple_socket session_socket;

/// True exactly while RunCorrivaneDaemon runs: whether scripts have a worker to talk to.
extern bool daemon_running;

inline constexpr const char* plugin_version = CORRIVANE_VERSION;

/// The build's date and time in the compiler's forms, as the greeting shows them: "Oct 29 2007 07:16:22 R".
std::string make_build_stamp(const std::string& buildDate, const std::string& buildTime);

/// Connects to the worker that listens on that port of this machine, proves itself with the token, and serves
/// commands until the worker closes the connection. Whatever else ends the session passes as an exception; the
/// connection may still be open then.
void run_daemon_session(int port, const std::string& token);
