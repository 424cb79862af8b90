#include "job_session.h"

namespace corrivane::test {
namespace {

using testing::HasSubstr;

/// Runs corrivane-worker with a drive C of its own.
struct Worker {
    explicit Worker(const nlohmann::json& scene, const std::vector<std::string>& arguments)
        : program(command(scene, arguments), folder / "output.txt") {}

    std::vector<std::string> command(const nlohmann::json& scene,
                                     const std::vector<std::string>& arguments) const {
        std::filesystem::create_directories(folder / "c");
        std::vector<std::string> command{built_program("corrivane-worker"), "render",
                                         save_scene(scene, folder / "scene"), "--drive",
                                         "C=" + (folder / "c")};
        command.insert(command.end(), arguments.begin(), arguments.end());
        return command;
    }
    std::filesystem::path output(const std::string& name) const { return folder.path() / "c/out" / name; }

    TemporaryFolder folder;
    RunningProgram program;
};

TEST(Worker, RendersAJobFromEndToEnd) {
    Worker worker(small_scene(), {"--frames", "1-5x2,9", "--check"});
    EXPECT_EQ(worker.program.wait(), 0) << worker.program.output();
    for (const char* name : {"beauty0001.png", "beauty0003.png", "beauty0005.png", "beauty0009.png"})
        EXPECT_EQ(ImageFile(worker.output(name)).width, 64) << name;
    EXPECT_FALSE(std::filesystem::exists(worker.output("beauty0002.png")));
    EXPECT_THAT(worker.program.output(), HasSubstr("4 files written: C:\\out\\beauty0001.png"));
}

TEST(Worker, TellsWhatFailedAndRendersTheRest) {
    nlohmann::json scene = small_scene();
    Worker worker(scene, {"--frames", "0-2", "--fail-on-black", "1,0"});
    EXPECT_EQ(worker.program.wait(), 1);
    EXPECT_THAT(worker.program.output(), HasSubstr("% of the output image is black"));
}

}  // namespace
}  // namespace corrivane::test
