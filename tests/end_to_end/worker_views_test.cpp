// A job of the real programs in which 3ds Max crashes once, as every view tells it.
#include "support/running_program.h"
#include "support/scene_file.h"
#include "support/test.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace corrivane::test {
namespace {

using namespace testing;
using nlohmann::json;

TEST(WorkerViews, TellOfACrashAndOfEveryFile) {
    const TemporaryFolder folder;
    const std::string scene = save_scene(small_scene(), folder.path());
    write_file(folder / "pre.ms", "standin.fault \"CurRendererRenderFrame\" \"Access Violation\"\ntrue");
    std::filesystem::create_directory(folder / "c");
    RunningProgram worker(
        {built_program("corrivane-worker"), "render", scene, "--frames", "0-2", "--drive",
         "C=" + (folder / "c"), "--retries", "0", "--pre-script", folder / "pre.ms", "--progress", "farm",
         "--events", folder / "events", "--report", folder / "report", "--crash-reports", folder / "crashes"},
        folder / "output");
    EXPECT_EQ(worker.wait(), 1);
    const std::string crash_file = folder / "crashes/scene-frame-0000.txt";
    EXPECT_THAT(worker.output(),
                AllOf(ContainsRegex(
                          "\n..:..:.. host 1 frame 0: failed after [0-9.]+ s \\(1 of 3, .* left\\): 3ds Max "
                          "crashed in CurRendererRenderFrame: Access Violation\n"),
                      HasSubstr(" host 1 frame 0: its crash report is kept in " + crash_file + "\n"),
                      HasSubstr("\n@IMAGE@" + (folder / "c/out/beauty0001.png") + "\n"),
                      HasSubstr("\nPROGRESS: 100%\nALF_PROGRESS 100%\n"),
                      HasSubstr("    1 crash report: " + crash_file + "\n"),
                      HasSubstr("\nreport: " + (folder / "report/index.html") + "\n")));
    EXPECT_THAT(worker.output(), Not(HasSubstr("Call Stack")));
    EXPECT_THAT(read_file(crash_file), AllOf(HasSubstr("Frame: 0\n"), HasSubstr("Call Stack:\n")));

    const Texts lines = read_lines(folder / "events");
    EXPECT_EQ(json::parse(lines.front())["event"], "job");
    EXPECT_EQ(json::parse(lines.back())["done"], 2);
    EXPECT_EQ(std::ranges::count_if(
                  lines, [](const std::string& line) { return json::parse(line)["event"] == "file"; }),
              2);

    const std::string page = read_file(folder / "report/index.html");
    EXPECT_THAT(page,
                AllOf(HasSubstr("<figure id=\"frame-0\" class=\"failed\">"), HasSubstr("Call Stack:\n")));
    std::size_t pictures = 0;
    for (std::size_t at = 0; (at = page.find("src=\"data:image/jpeg;base64,", at)) != std::string::npos; ++at)
        ++pictures;
    EXPECT_EQ(pictures, 2);
}

}  // namespace
}  // namespace corrivane::test
