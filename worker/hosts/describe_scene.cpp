#include "worker/hosts/describe_scene.h"

#include "json/value.h"
#include "worker/base/stop_request.h"
#include "worker/hosts/host_process.h"
#include "worker/hosts/running_host.h"

#include <limits>
#include <system_error>

namespace corrivane::worker {
namespace {

std::string text_of(const json::Value& object, const char* key) {
    return std::string(object.at(key).text());
}

int number_of(const json::Value& object, const char* key) {
    return static_cast<int>(
        object.at(key).whole(std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

std::string class_id(const json::Value& words) {
    std::string text;
    if (!words.is_array()) return text;
    for (const json::Value word : words.elements())
        text += (text.empty() ? "" : " ") + std::string(word.text());
    return text;
}

/// What the host prints: first its log, one entry a line, then the description.
struct HostOutput {
    std::string log;
    std::string description;
    bool refuses_scene = false;

    void take(std::string_view line) {
        if (!description.empty() || line == "{") {
            description.append(line) += '\n';
            return;
        }
        log.append(log.empty() ? "" : "\n").append(line);
        for (const std::string_view call : {"[error] LoadFromFile: ", "[error] IsMaxFile: "})
            if (line.starts_with(call)) refuses_scene = true;
    }
};

}  // namespace

SceneDescription parse_description(const std::string& text) {
    const json::Document document(text);
    const json::Value root = document.root();
    SceneDescription scene;
    scene.host_version = text_of(root, "hostVersion");
    for (const json::Value camera : root.at("cameras").elements())
        scene.cameras.emplace_back(camera.text());
    scene.active_view = text_of(root, "activeView");
    scene.range = {number_of(root, "firstFrame"), number_of(root, "lastFrame")};
    scene.frame_rate = number_of(root, "frameRate");
    scene.width = number_of(root, "width");
    scene.height = number_of(root, "height");
    scene.output = text_of(root, "output");
    scene.saves_file = root.at("saveFile").boolean();
    scene.skips_existing_frames = root.at("skipExistingFrames").boolean();
    scene.splits_alpha = root.at("tgaAlphaSplit").boolean();
    scene.elements_active = root.at("elementsActive").boolean();
    for (const json::Value element : root.at("elements").elements())
        scene.elements.push_back({text_of(element, "type"), text_of(element, "output")});
    scene.renderer_class_id = class_id(root.at("rendererClassId"));
    scene.renderer_installed = root.at("rendererInstalled").boolean();
    for (const json::Value requirement : root.at("rendererRequirements").elements())
        scene.renderer_requirements.push_back(static_cast<int>(requirement.whole(0, 1'000'000)));
    for (const json::Value missing : root.at("missing").elements())
        scene.missing.push_back({text_of(missing, "kind"), text_of(missing, "name")});
    scene.json = text;
    return scene;
}

SceneDescription describe_scene(const HostSettings& host, const TimeLimits& limits,
                                const std::string& scene) {
    std::vector<std::string> arguments = drive_arguments(host);
    arguments.insert(arguments.end(), {"--describe", scene});
    HostOutput output;
    std::string end;
    try {
        HostProcess process(host.program, arguments, {}, [&](std::string_view line) { output.take(line); });
        end = process.end(limits.load, StopRequest());
    } catch (const std::system_error& error) {
        throw NoDescription(error.what());
    }
    if (output.refuses_scene) throw SceneRefused(output.log);
    try {
        if (!output.description.empty()) return parse_description(output.description);
    } catch (const json::Error& error) {
        throw NoDescription("the host's description of the scene is not understood: " +
                            std::string(error.what()));
    }
    throw NoDescription("the host " + host.program + " does not describe scenes; it " + end +
                        (output.log.empty() ? "" : ":\n" + output.log));
}

}  // namespace corrivane::worker
