#include "job_session.h"

#include <chrono>

namespace corrivane::test {

Texts failed(const std::string& cause) {
    return {"STARTED", "ERROR: " + cause, "ERROR: Failed to save file."};
}

std::string start_job(const std::filesystem::path& scene, const std::string& camera) {
    return "StartJob," + field(scene.string()) + "," + field(camera);
}

JobSession::JobSession(const nlohmann::json& scene, const std::string& camera) {
    const auto file = save_scene(scene, session.folder() / "scene");
    start_replies = session.run(start_job(file, camera));
}

Texts JobSession::render(int frame) {
    const auto start = std::chrono::steady_clock::now();
    Texts replies = session.run("RenderTask," + std::to_string(frame));
    if (replies.back() == "ERROR: Failed to save file.") {
        EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(500));
    }
    return replies;
}

}  // namespace corrivane::test
