#include "farm/script_reporting.h"

#include "fakes/fake_max.h"
#include "fakes/fake_scripts.h"
#include "farm/daemon_session.h"
#include "plugin/plugin_test.h"
#include "support/provoked_fault.h"

#include <max/maxscript/exceptions.h>
#include <windows.h>

namespace corrivane::test {
namespace {

using ScriptReporting = PluginTest;

TEST_F(ScriptReporting, MessagesGoToTheListenerOrToTheWorker) {
    const std::string thread_entry = "Thread: " + std::to_string(GetCurrentThreadId()) + "\n";
    LogMessage("50% \"done\"");
    EXPECT_EQ(fake_scripts().listener, "50% \"done\"\n");
    EXPECT_EQ(log(), thread_entry);

    WirePeer worker;
    session_socket.connect("127.0.0.1", worker.port());
    worker.accept();
    daemon_running = true;
    LogMessage("50% \"done\"");
    EXPECT_EQ(worker.receive(), "FUNCTION: STDOUT: 50% \"done\"");
    EXPECT_EQ(fake_scripts().listener, "50% \"done\"\n");
    EXPECT_EQ(log(), thread_entry + thread_entry);
    session_socket.close(true);
    EXPECT_THROW(LogMessage("lost"), RuntimeError);
}

TEST_F(ScriptReporting, OperationsByHandTellWhetherTheyWentRight) {
    fake_max().output.SetName("C:\\out\\a.png");
    EXPECT_TRUE(Debug_StartJob("C:\\a.max", ""));
    // Progress has nobody to go to, which must not fail the render.
    fake_max().inside["CurRendererRenderFrame"] = [] { EXPECT_EQ(fake_max().progress->Progress(1, 1), 1); };
    EXPECT_TRUE(Debug_RenderFrame(3));
    EXPECT_TRUE(std::filesystem::exists(on_disk("out\\a0003.png")));
    EXPECT_TRUE(Debug_EndJob());
    EXPECT_EQ(fake_scripts().listener, "");
}

TEST_F(ScriptReporting, FailuresByHandArePrintedAndLogged) {
    const AbandonedFramesMayLeak amnesty;
    const std::string not_running = "EndJob called when consistency check flag jobRunning was not set";
    EXPECT_FALSE(Debug_EndJob());
    EXPECT_EQ(fake_scripts().listener, "Exception: " + not_running + "\n");
    EXPECT_EQ(log(), not_running + "\n");

    fake_scripts().listener.clear();
    fake_max().inside["IsMaxFile"] = [] { read_address(0x10); };
    EXPECT_FALSE(Debug_StartJob("C:\\a.max", ""));
    const std::string fault = "Trapped SEH Exception in StartJob(): Access Violation\n";
    EXPECT_EQ(fake_scripts().listener, "SEH Exception: " + fault);
    EXPECT_TRUE(log().ends_with("\n" + fault));

    fake_max().inside.clear();
    fake_max().render_result = 0;
    EXPECT_TRUE(Debug_StartJob("C:\\a.max", ""));
    EXPECT_FALSE(Debug_RenderFrame(1));
    EXPECT_TRUE(fake_scripts().listener.ends_with("Exception: Failed to render the frame.\n"));

    fake_max().inside["CurRendererRenderFrame"] = [] { throw RuntimeError("the script's own"); };
    EXPECT_THROW(Debug_RenderFrame(1), RuntimeError);
}

}  // namespace
}  // namespace corrivane::test
