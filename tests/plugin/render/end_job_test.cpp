#include "fakes/fake_max.h"
#include "plugin/plugin_test.h"
#include "support/message_of.h"
#include "support/provoked_fault.h"

#include <vector>

namespace corrivane::test {
namespace {

using EndingAJob = PluginTest;

TEST_F(EndingAJob, RendererIsClosedAndTheViewportGivenBack) {
    job_state.StartJob("a.max", "");
    job_state.OpenRenderer(0);
    FakeEffect effect;
    job_state.multipassEffect = &effect;
    fake_max().calls.clear();
    job_state.EndJob();
    EXPECT_EQ(fake_max().calls,
              (std::vector<std::string>{"CloseCurRenderer", "ReleaseViewport active", "FileReset 1"}));
    EXPECT_FALSE(job_state.jobRunning || job_state.rendererOpen);
    EXPECT_EQ(job_state.multipassEffect, nullptr);

    const std::string text = "EndJob called when consistency check flag jobRunning was not set";
    EXPECT_EQ(message_of([] { job_state.EndJob(); }), text);
    EXPECT_EQ(fake_max().calls.size(), 3U);
    job_state.CloseRenderer();
    EXPECT_EQ(fake_max().calls.size(), 3U);
}

TEST_F(EndingAJob, FaultWhileClosingKeepsTheJobForAnotherTry) {
    const AbandonedFramesMayLeak amnesty;
    job_state.StartJob("a.max", "");
    job_state.OpenRenderer(0);
    fake_max().inside["CloseCurRenderer"] = [] { read_address(0x10); };
    const std::string error = message_of([] { job_state.EndJob(); });
    EXPECT_EQ(error, with_last_report("Trapped SEH Exception in CloseCurRenderer(): Access Violation"));
    EXPECT_TRUE(job_state.jobRunning && job_state.rendererOpen);
    fake_max().inside.clear();
    job_state.EndJob();
    EXPECT_FALSE(job_state.jobRunning || job_state.rendererOpen);
}

}  // namespace
}  // namespace corrivane::test
