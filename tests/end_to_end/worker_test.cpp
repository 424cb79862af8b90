#include "job_session.h"
#include "test_scene.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>

namespace corrivane::test {
namespace {

using testing::HasSubstr;
using testing::Not;

/// Runs corrivane-worker with a drive C of its own.
class Worker {
public:
    explicit Worker(const nlohmann::json& scene, const std::vector<std::string>& arguments = {}) {
        const auto file = save_scene(scene, m_folder.path() / "scene");
        std::vector<std::string> command{(programs_folder() / "corrivane-worker").string(), "render",
                                         file.string(), "--drive", "C=" + (m_folder.path() / "c").string()};
        std::filesystem::create_directories(m_folder.path() / "c");
        command.insert(command.end(), arguments.begin(), arguments.end());
        program.emplace(command, m_folder.path() / "output.txt");
    }

    std::filesystem::path output(const std::string& name) const { return m_folder.path() / "c/out" / name; }

private:
    TemporaryFolder m_folder;

public:
    std::optional<RunningProgram> program;
};

TEST(Worker, RendersAJobFromEndToEnd) {
    Worker worker(small_scene(), {"--frames", "1-5x2,9"});
    EXPECT_EQ(worker.program->wait(), 0) << worker.program->output();
    for (const char* name : {"beauty0001.png", "beauty0003.png", "beauty0005.png", "beauty0009.png"})
        EXPECT_EQ(ImageFile(worker.output(name)).width, 64) << name;
    EXPECT_FALSE(std::filesystem::exists(worker.output("beauty0002.png")));
}

TEST(Worker, TellsWhatFailedAndRendersTheRest) {
    nlohmann::json scene = small_scene();
    Worker worker(scene, {"--frames", "0-2", "--fail-on-black", "1,0"});
    EXPECT_NE(worker.program->wait(), 0);
    EXPECT_THAT(worker.program->output(), HasSubstr("% of the output image is black"));

    Worker wrong_camera(scene, {"--frames", "0", "--camera", "Nobody"});
    EXPECT_NE(wrong_camera.program->wait(), 0);
    EXPECT_THAT(wrong_camera.program->output(), HasSubstr("Scene does not contain render camera \"Nobody\""));
}

TEST(Worker, EndsInOrderAtCtrlC) {
    nlohmann::json scene = small_scene();
    render_settings(scene).update({{"width", 1920}, {"height", 1080}, {"samples", 64}});
    Worker worker(scene, {"--frames", "0-100"});
    const auto log_has_frame = [&] { return worker.program->output().find("0") != std::string::npos; };
    for (int i = 0; i < 600 && !log_has_frame(); ++i)
        usleep(50'000);
    worker.program->send_signal(SIGINT);
    EXPECT_NE(worker.program->wait(), 0);
    EXPECT_THAT(worker.program->output(), Not(HasSubstr("core dumped")));
}

}  // namespace
}  // namespace corrivane::test
