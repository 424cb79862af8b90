#include "worker/cli/info_text.h"

#include "worker/base/printable.h"

#include <vector>

namespace corrivane::worker {
namespace {

/// "cameras:      a, b"
void add_line(std::string& text, const std::string& name, const std::string& value) {
    std::string label = name + ':';
    label.resize(14, ' ');
    text += label + printable(value) + '\n';
}

std::string joined(const std::vector<std::string>& names) {
    std::string list;
    for (const std::string& name : names)
        list += (list.empty() ? "" : ", ") + name;
    return list.empty() ? "none" : list;
}

std::string output_of(const SceneDescription& scene) {
    std::string text = scene.output.empty() ? "none" : scene.output;
    if (!scene.saves_file) text += " (not saved: saveFile is false)";
    if (scene.skips_existing_frames) text += " (frames whose file is there are skipped)";
    return text;
}

}  // namespace

std::string info_text(const SceneDescription& scene) {
    std::string text;
    add_line(text, "cameras", joined(scene.cameras));
    add_line(text, "active view", scene.active_view.empty() ? "the whole scene" : scene.active_view);
    add_line(text, "frames",
             std::to_string(scene.range.first) + '-' + std::to_string(scene.range.last) + ", " +
                 std::to_string(scene.frame_rate) + " a second");
    add_line(text, "size", std::to_string(scene.width) + " x " + std::to_string(scene.height));
    add_line(text, "output", output_of(scene));
    for (const auto& element : scene.elements)
        add_line(text, "element",
                 element.type + ": " + (element.output.empty() ? "not written" : element.output) +
                     (scene.elements_active ? "" : " (elements are switched off)"));
    add_line(text, "renderer", scene.renderer_class_id.empty() ? "the host's own" : scene.renderer_class_id);
    if (!scene.renderer_installed) add_line(text, "renderer", "not installed");
    for (const auto& missing : scene.missing)
        add_line(text, "missing", missing.name + " (" + missing.kind + ')');
    return text;
}

}  // namespace corrivane::worker
