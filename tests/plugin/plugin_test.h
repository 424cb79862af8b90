#pragma once

#include "net/simple_socket.h"
#include "render/job_state.h"
#include "support/temporary_folder.h"
#include "support/wire_peer.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace corrivane::test {

/// A test of the product as it is right after its library was loaded: drive C is an empty folder with a place
/// for the log, the process-wide objects are fresh, 3ds Max is the fake.
class PluginTest : public testing::Test {
protected:
    PluginTest();
    ~PluginTest() override;

    /// Everything logged so far.
    std::string log() const;
    bool logged(const std::string& text) const { return log().find(text) != std::string::npos; }
    /// Where a file of drive C is, given without "C:\": "out\\a.png".
    std::string on_disk(std::string name) const;

private:
    TemporaryFolder m_drive_c;
};

/// A connected socket of the product and the worker at its other end. One thread is enough for an exchange:
/// the worker answers in advance.
struct Link {
    WirePeer worker;
    quorvel::win32::simple_socket socket{"127.0.0.1", worker.port()};

    Link() { worker.accept(); }
    /// Everything that the product has sent since the last call.
    std::vector<std::string> sent();
};

/// How an error text ends that tells about a trapped fault: the report of the last one follows it.
std::string with_last_report(const std::string& error);

/// Runs one command line and returns the replies.
std::vector<std::string> run_command(Link& link, const std::string& line);

}  // namespace corrivane::test
