#include "worker/preflight/planned_outputs.h"

#include <algorithm>

namespace corrivane::worker {
namespace {

constexpr int wants_float_output = 3;  // 3ds Max's number for the requirement

/// What is saved of the image: its region, if it has one.
void take_size(const Job& job, const SceneDescription& scene, PlannedOutput& output) {
    output.width = scene.width;
    output.height = scene.height;
    if (!job.options.region) return;
    const Region& region = *job.options.region;
    output.width = std::min(region.right, scene.width) - std::max(region.left, 0);
    output.height = std::min(region.bottom, scene.height) - std::max(region.top, 0);
}

std::string element_output(const Job& job, const SceneDescription& scene, std::size_t index) {
    const bool is_moved = index < job.element_outputs.size() && !job.element_outputs[index].empty();
    return is_moved ? job.element_outputs[index] : scene.elements[index].output;
}

}  // namespace

std::vector<PlannedOutput> planned_outputs(const Job& job, const SceneDescription& scene) {
    std::vector<PlannedOutput> outputs;
    const auto add = [&](std::string what, std::string name) {
        PlannedOutput& output = outputs.emplace_back();
        output.what = std::move(what);
        output.name = std::move(name);
        output.is_deep = std::ranges::find(scene.renderer_requirements, wants_float_output) !=
                         scene.renderer_requirements.end();
        take_size(job, scene, output);
    };
    const std::string main_output = job.output.value_or(scene.output);
    if (scene.saves_file && !main_output.empty()) add("output", main_output);
    if (!scene.elements_active) return outputs;
    for (std::size_t i = 0; i < scene.elements.size(); ++i) {
        std::string name = element_output(job, scene, i);
        if (!name.empty())
            add("element " + std::to_string(i) + " (" + scene.elements[i].type + ')', std::move(name));
    }
    return outputs;
}

}  // namespace corrivane::worker
