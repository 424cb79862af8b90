#include "fakes/fake_max.h"
#include "plugin/plugin_test.h"
#include "support/provoked_fault.h"

#include <windows.h>

#include <chrono>
#include <stdexcept>

namespace corrivane::test {
namespace {

using Replies = std::vector<std::string>;

class JobCommands : public PluginTest {
protected:
    JobCommands() { fake_max().output.SetName("C:\\out\\a.png"); }

    Replies run(const std::string& line) { return run_command(m_link, line); }

    Link m_link;
};

constexpr const char* no_output = "SUCCESS [filename] \n[format] \n[size] 0x0\n[aspect] 1\n";
constexpr const char* not_saved = "ERROR: Failed to save file.";

TEST_F(JobCommands, ParametersAreCheckedFirst) {
    const struct {
        const char* line;
        const char* error;
        int current_frame;
    } cases[] = {
        {"RenderTask", "RenderTask: Expected 1 parameter, got 0", 0},
        {"RenderTask,1,2", "RenderTask: Expected 1 parameter, got 2", 0},
        {"RenderTask,x", "RenderTask: Parameter 1 , \"x\", is not a valid frame number.", 0},
        {"RenderTask,1.5", "RenderTask: Parameter 1 , \"1.5\", is not a valid frame number.", 0},
        {"RenderTask,12", "RenderTask: Called without being in a job.", 12},
        {"StartJob,a", "StartJob: Expected 2 parameters, got 1", 12},
        {"StartJob,a,b,c", "StartJob: Expected 2 parameters, got 3", 12},
    };
    for (const auto& [line, error, current_frame] : cases) {
        EXPECT_EQ(run(line), Replies{std::string("ERROR: ") + error}) << line;
        EXPECT_EQ(job_state.currentFrame, current_frame) << line;
    }
    EXPECT_EQ(fake_max().calls, Replies{});
}

TEST_F(JobCommands, JobFromStartToEnd) {
    EXPECT_EQ(run("StartJob,\"C:\\\\scenes\\\\a, b.max\","), Replies{no_output});
    EXPECT_EQ(fake_max().calls_of("LoadFromFile"), Replies{"LoadFromFile C:\\scenes\\a, b.max 6"});
    EXPECT_TRUE(log().ends_with("Sending success\n"));
    EXPECT_EQ(run("RenderTask,-3"), (Replies{"STARTED", "SUCCESS"}));
    EXPECT_EQ(job_state.currentFrame, -3);
    EXPECT_TRUE(std::filesystem::exists(on_disk("out\\a-003.png")));
    EXPECT_EQ(run("EndJob,extra"), Replies{"SUCCESS"});
    EXPECT_FALSE(job_state.jobRunning);
    EXPECT_EQ(run("StartJob,b.max,"),
              Replies{"SUCCESS [filename] C:\\out\\a.png\n[format] Fake format\n[size] 8x4\n"
                      "[aspect] 1.25\n"})
        << "the description is that of the last frame";
}

TEST_F(JobCommands, FailedOperationsAreAnsweredBeforeTheSuccess) {
    const AbandonedFramesMayLeak amnesty;
    fake_max().load_result = 0;
    EXPECT_EQ(run("StartJob,C:\\\\a.max,"),
              (Replies{"ERROR: Failed to load max file: \"C:\\a.max\"", no_output}));
    EXPECT_TRUE(log().ends_with("Sending error\nSending success\n"));
    EXPECT_EQ(
        run("EndJob"),
        (Replies{"ERROR: EndJob called when consistency check flag jobRunning was not set", "SUCCESS"}));
    EXPECT_TRUE(log().ends_with("Sending error\n"));

    fake_max().inside["GetActiveViewport"] = [] { write_address(0x20); };
    fake_max().load_result = 1;
    const Replies replies = run("StartJob,C:\\\\a.max,");
    ASSERT_EQ(replies.size(), 2U);
    EXPECT_EQ(replies[0], with_last_report("ERROR: Trapped SEH Exception in StartJob(): Access Violation"));
    EXPECT_NE(replies[0].find("\nWrite Address:  00000020\n"), std::string::npos) << replies[0];
    EXPECT_EQ(replies[1], no_output);
}

TEST_F(JobCommands, FrameThatFailsIsAnsweredWithItsCauseAPauseAndALastWord) {
    const AbandonedFramesMayLeak amnesty;
    run("StartJob,a.max,");
    fake_max().render_result = 0;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(run("RenderTask,1"), (Replies{"STARTED", "ERROR: Failed to render the frame.", not_saved}));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(500));

    fake_max().inside["SetTime"] = [] { read_address(0x10); };
    const Replies replies = run("RenderTask,1");
    const std::string fault =
        with_last_report("ERROR: Trapped SEH Exception in RenderFrame(): Access Violation");
    EXPECT_EQ(replies, (Replies{"STARTED", fault, not_saved}));
    fake_max().inside.clear();
    fake_max().render_result = 1;
    EXPECT_EQ(run("RenderTask,2"), (Replies{"STARTED", "SUCCESS"}));
}

}  // namespace
}  // namespace corrivane::test
