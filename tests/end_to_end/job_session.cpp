#include "job_session.h"

#include "test_scene.h"

namespace corrivane::test {

std::vector<std::string> failed(const std::string& cause) {
    return {"STARTED", "ERROR: " + cause, "ERROR: Failed to save file."};
}

std::string start_job(const std::filesystem::path& scene, const std::string& camera) {
    return "StartJob," + field(scene.string()) + "," + field(camera);
}

JobSession::JobSession(const nlohmann::json& scene, const std::string& camera) {
    const auto file = save_scene(scene, session.folder() / "scene");
    start_replies = session.run(start_job(file, camera));
}

}  // namespace corrivane::test
