#include "fakes/fake_max.h"
#include "fakes/fake_scripts.h"
#include "plugin/plugin_test.h"
#include "quorvel/max3d/maxscript.h"
#include "support/message_of.h"
#include "support/provoked_fault.h"

#include <functional>
#include <stdexcept>

namespace corrivane::test {
namespace {

class GuardedCalls : public PluginTest {
protected:
    GuardedCalls() {
        fake_max().output.SetName("C:\\out\\a.png");
        job_state.StartJob("a.max", "");
        quorvel::win32::simple_socket nobody;
        job_state.RenderFrame(0, nobody);
    }
};

FakeBitmap& bitmap() {
    static FakeBitmap made("bitmap", BitmapInfo());
    return made;
}

/// Each guard: the call inside it that is made to fail, and its result as a text, "" for one that has none.
const struct {
    const char* operation;
    const char* inside;
    std::function<std::string(std::string&)> call;
    const char* result;
    const char* result_of_fault;
} guards[] = {
    {"LoadFromFile", "LoadFromFile",
     [](std::string& error) { return std::to_string(job_state.CallLoadFromFile("a.max", error)); }, "1", "0"},
    {"OpenCurRenderer", "OpenCurRenderer",
     [](std::string& error) {
         return std::to_string(
             job_state.CallOpenCurRenderer(nullptr, job_state.activeViewport, 4, 3, 2, error));
     },
     "1", "0"},
    {"CloseCurRenderer", "CloseCurRenderer",
     [](std::string& error) { return job_state.CallCloseCurRenderer(error), ""; }, "", ""},
    {"CurRendererRenderFrame", "CurRendererRenderFrame",
     [](std::string& error) {
         return std::to_string(
             job_state.CallCurRendererRenderFrame(160, &bitmap(), nullptr, 1.0F, nullptr, nullptr, error));
     },
     "1", "0"},
    {"RenderFrame", "SetTime",
     [](std::string& error) {
         quorvel::win32::simple_socket nobody;
         return std::to_string(job_state.CallRenderFrame(1, nobody, error));
     },
     "0", "1"},
    {"EndJob", "ReleaseViewport", [](std::string& error) { return job_state.CallEndJob(error), ""; }, "", ""},
    {"StartJob", "IsMaxFile",
     [](std::string& error) { return job_state.CallStartJob("a.max", "", error), ""; }, "", ""},
};

TEST_F(GuardedCalls, FaultsBecomeErrorTextsAndReportsAndOtherExceptionsPass) {
    const AbandonedFramesMayLeak amnesty;
    for (const auto& [operation, inside, call, result, result_of_fault] : guards) {
        if (operation == std::string("StartJob")) job_state.jobRunning = false;
        std::string error = "left over";
        fake_max().inside[inside] = [] { read_address(0x10); };
        EXPECT_EQ(call(error), result_of_fault);
        EXPECT_EQ(error, std::string("Trapped SEH Exception in ") + operation + "(): Access Violation");
        EXPECT_NE(job_state.GetLastExceptionReport().find("\nRead Address:  00000010\n"), std::string::npos);

        fake_max().inside[inside] = [] { throw std::out_of_range("its own"); };
        EXPECT_EQ(message_of([&, &call = call] { call(error); }), "its own") << operation;
        // An exception that passes leaves its report too.
        EXPECT_NE(job_state.GetLastExceptionReport().find("\nException Code:  E06D7363\n"),
                  std::string::npos);

        fake_max().inside.clear();
        error = "left over";
        EXPECT_EQ(call(error), result) << operation;
        EXPECT_EQ(error, "") << operation;
    }
}

TEST_F(GuardedCalls, FramesOfAScriptThatAFaultAbandonedAreForgotten) {
    const AbandonedFramesMayLeak amnesty;
    // A script that 3ds Max runs during the call.
    fake_max().inside["LoadFromFile"] = [] {
        const quorvel::max3d::scoped_maxscript_frame frame;
        const quorvel::max3d::value_locals<1> locals;
        read_address(0x10);
    };
    const ValueLocalsFrame* chain = current_locals_frame();
    std::string error;
    EXPECT_EQ(job_state.CallLoadFromFile("a.max", error), 0);
    EXPECT_EQ(current_locals_frame(), chain);
}

}  // namespace
}  // namespace corrivane::test
