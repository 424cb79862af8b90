#pragma once

#include "fakes/fake_max.h"
#include "maxscript/runtime.h"
#include "net/simple_socket.h"
#include "render/job_state.h"
#include "support/drive_c.h"
#include "support/provoked_fault.h"
#include "support/test.h"
#include "support/wire_peer.h"

#include <functional>
#include <optional>

namespace corrivane::test {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

/// The calling thread's chain of MAXScript local-value frames; null for a thread that has never run MAXScript.
ValueLocalsFrame* current_locals_frame();

/// The host's MAXScript runtime for the time of a test. It collects at every allocation, so that a value
/// without a root is found out.
class ScriptTest : public testing::Test {
protected:
    ScriptTest();
    ~ScriptTest() override;

    /// What scripts find under a name, made anew by each call of the function.
    static void define(const std::string& name, std::function<Value*()> function);
    /// What the Listener shows of a script's last value or of its error.
    static std::string run_script(const std::string& script) { return host::run_text(script).text; }

    std::string m_listener;  ///< everything printed

private:
    std::optional<host::MaxScriptRuntime> m_runtime;
};

/// A test of the product as it is right after its library was loaded: drive C is an empty folder with a place
/// for the log, the process-wide objects are fresh, 3ds Max is the fake and runs real script.
class PluginTest : public ScriptTest {
protected:
    PluginTest();
    ~PluginTest() override;

    /// Everything logged so far.
    std::string log() const;
    bool logged(const std::string& text) const { return log().find(text) != std::string::npos; }
    /// Where a file of drive C is, given without "C:\": "out\\a.png".
    std::string on_disk(std::string name) const;

private:
    DriveC m_drive_c;
};

/// A connected socket of the product and the worker at its other end. One thread is enough for an exchange:
/// the worker answers in advance.
struct Link {
    WirePeer worker;
    quorvel::win32::simple_socket socket{"127.0.0.1", worker.port()};

    Link() { worker.accept(); }
    /// Everything that the product has sent since the last call.
    Texts sent();
};

/// How an error text ends that tells about a trapped fault: the report of the last one follows it.
std::string with_last_report(const std::string& error);

}  // namespace corrivane::test
