#pragma once

#include "host_session.h"
#include "image_file.h"

#include <nlohmann/json.hpp>

#include <filesystem>
#include <string>
#include <vector>

namespace corrivane::test {

/// The replies to a frame that went well, and to one that failed because of an exception.
inline const std::vector<std::string> rendered = {"STARTED", "SUCCESS"};
std::vector<std::string> failed(const std::string& cause);

std::string start_job(const std::filesystem::path& scene, const std::string& camera = "");

/// StartJob's reply before any frame of the process was prepared.
inline const std::string no_output = "SUCCESS [filename] \n[format] \n[size] 0x0\n[aspect] 1\n";

/// A session with a job started on a scene.
class JobSession {
public:
    explicit JobSession(const nlohmann::json& scene, const std::string& camera = "");

    std::vector<std::string> render(int frame) { return session.run("RenderTask," + std::to_string(frame)); }
    std::filesystem::path output(const std::string& name) const { return session.drive_c() / "out" / name; }
    ImageFile image(const std::string& name) const { return ImageFile(output(name)); }

    HostSession session;
    std::vector<std::string> start_replies;
};

}  // namespace corrivane::test
