#include "job_session.h"
#include "support/sanitizers.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <span>
#include <sstream>

namespace corrivane::test {
namespace {

std::string script(const std::string& text) {
    return "ExecuteStringScript,0," + field(text + "; \"armed\"");
}

const Texts armed = {"STARTED", "SUCCESS: armed"};

std::string arm(const std::string& call, const std::string& kind) {
    return script("standin.fault \"" + call + "\" \"" + kind + "\"");
}

/// A crash report, from its first to its last line.
testing::Matcher<std::string> report_of(const std::string& error_text, const std::string& code) {
    const std::string path = host_kind().path_start;
    return testing::AllOf(StartsWith("ERROR: " + error_text + "\nProcess:  " + path),
                          HasSubstr("\nModule:  "), HasSubstr("\nDate Modified:  "),
                          HasSubstr("\nException Code:  " + code + "\n"), HasSubstr("\nInstruction:  "),
                          HasSubstr("\nCall Stack:\n"), HasSubstr("  Exception Offset"),
                          testing::Not(EndsWith("\n")));
}

struct Kind {
    const char *name, *code;
};

constexpr Kind kinds[] = {{"Datatype Misalignment", "80000002"},   {"Access Violation", "C0000005"},
                          {"In Page Error", "C0000006"},           {"Illegal Instruction", "C000001D"},
                          {"Array Bounds Exceeded", "C000008C"},   {"Float Denormal Operand", "C000008D"},
                          {"Float Divide By Zero", "C000008E"},    {"Float Inexact Result", "C000008F"},
                          {"Float Invalid Operation", "C0000090"}, {"Float Overflow", "C0000091"},
                          {"Float Stack Check", "C0000092"},       {"Integer Divide By Zero", "C0000094"},
                          {"Integer Overflow", "C0000095"},        {"Privileged Instruction", "C0000096"},
                          {"Stack Overflow", "C00000FD"}};

/// ThreadSanitizer's signal handler reads unaligned words itself, before the product's runs.
std::span<const Kind> provoked_kinds() {
    return std::span(kinds).subspan(under_tsan ? 1 : 0);
}

TEST(Faults, EveryKindCostsOneFrameAndTheNextIsFine) {
    JobSession job(small_scene());
    ASSERT_EQ(job.render(0), rendered);
    const ImageFile reference = job.image("beauty0000.png");
    int frame = 0;
    for (const Kind& kind : provoked_kinds()) {
        ASSERT_EQ(job.session.run(arm("CurRendererRenderFrame", kind.name)), armed) << kind.name;
        const std::string text =
            std::string("Trapped SEH Exception in CurRendererRenderFrame(): ") + kind.name;
        EXPECT_THAT(job.render(++frame),
                    ElementsAre("STARTED", report_of(text, kind.code), "ERROR: Failed to save file."));
        ASSERT_EQ(job.render(0), rendered) << kind.name;
        EXPECT_EQ(job.image("beauty0000.png").pixels, reference.pixels) << kind.name;
    }
    EXPECT_THAT(job.session.run("EndJob"), ElementsAre("SUCCESS"));
    EXPECT_EQ(job.session.finish(), 0);
}

TEST(Faults, GuardedOperationsReportWhatTheyTrap) {
    JobSession job(small_scene());
    const std::string start = start_job(job.session.folder() / "scene/scene.gltf");
    const auto report = [](const std::string& operation) {
        return report_of("Trapped SEH Exception in " + operation + "(): Access Violation", "C0000005");
    };
    job.session.run(arm("SetTime", "Access Violation"));
    EXPECT_THAT(job.render(1), ElementsAre("STARTED", report("RenderFrame"), "ERROR: Failed to save file."));
    job.session.run(arm("ReleaseViewport", "Access Violation"));
    EXPECT_THAT(job.session.run("EndJob"), ElementsAre(report("EndJob"), "SUCCESS"));
    EXPECT_THAT(job.session.run("EndJob"), ElementsAre("SUCCESS"));
    job.session.run(arm("GetActiveViewport", "Access Violation"));
    EXPECT_THAT(job.session.run(start), ElementsAre(report("StartJob"), StartsWith("SUCCESS ")));
    EXPECT_THAT(job.session.run(start), ElementsAre(StartsWith("SUCCESS ")));
    EXPECT_EQ(job.render(3), rendered);
}

TEST(Faults, KindsThatGuardsPassOnEndTheProcessByTheirSignal) {
    const std::tuple<const char*, int, int> cases[] = {{"Float Underflow", SIGFPE, 0x93},
                                                       {"Breakpoint", SIGTRAP, 0x03}};
    for (const auto& [kind, signal, exception] : cases) {
        JobSession job(small_scene());
        job.session.run(arm("CurRendererRenderFrame", kind));
        job.session.send("RenderTask,1");
        const int code = job.session.host().wait();
        EXPECT_TRUE(host_kind().is_exit_code_of_fault(code, signal, exception)) << kind << ' ' << code;
        EXPECT_EQ(job.session.log_lines().back(), "calling renderer") << kind;
    }
}

/// Of the process and all that it started: a host may run below a command.
long resident_pages_below(const std::string& process) {
    std::istringstream statm(read_file("/proc/" + process + "/statm"));
    long size = 0, resident = 0;
    statm >> size >> resident;
    std::istringstream children(read_file("/proc/" + process + "/task/" + process + "/children"));
    for (std::string child; children >> child;)
        resident += resident_pages_below(child);
    return resident;
}

/// CORRIVANE_FAULTS says another number.
std::size_t number_of_faults() {
    const char* given = std::getenv("CORRIVANE_FAULTS");
    return given == nullptr ? std::size_t(host_kind().many_faults) : std::stoul(given);
}

TEST(Faults, ManyInOneProcessLeaveNothingBehind) {
    JobSession job(small_scene());
    const auto resident_pages = [&job] {
        return resident_pages_below(std::to_string(job.session.host().pid()));
    };
    // RenderTask pauses after an error, so the faults come from the load, whose command does not.
    const auto file = job.session.folder() / "scene/scene.gltf";
    ASSERT_THAT(job.session.run("EndJob"), ElementsAre("SUCCESS"));
    const auto fault_once = [&](const Kind& kind) {
        ASSERT_EQ(job.session.run(arm("LoadFromFile", kind.name)), armed);
        ASSERT_THAT(job.session.run(start_job(file)),
                    ElementsAre(StartsWith("ERROR: Trapped SEH Exception in LoadFromFile(): " +
                                           std::string(kind.name)),
                                StartsWith("SUCCESS ")));
    };
    const std::span<const Kind> provoked = provoked_kinds();
    const std::size_t warm_up = std::min<std::size_t>(150, number_of_faults() / 2);
    for (std::size_t i = 0; i < warm_up; ++i)
        fault_once(provoked[i % provoked.size()]);
    const long before = resident_pages();
    for (std::size_t i = warm_up; i < number_of_faults(); ++i)
        fault_once(provoked[i % provoked.size()]);
    // The sanitizers keep freed memory back for a while.
    if (!under_asan && !under_tsan) {
        EXPECT_LT(resident_pages() - before, 1000) << "pages grown";
    }
    EXPECT_THAT(job.session.run(start_job(file)), ElementsAre(StartsWith("SUCCESS ")));
    EXPECT_EQ(job.render(0), rendered);
}

}  // namespace
}  // namespace corrivane::test
