#include "app/describe_scene.h"

#include <corrivane_version.h>
#include <nlohmann/json.hpp>

#include <cstdio>

namespace corrivane::host {

namespace {

using Json = nlohmann::ordered_json;

/// The words of the worker's --ignore-missing.
const char* kind_word(MissingKind kind) {
    switch (kind) {
        case MissingKind::external_file:
            return "files";
        case MissingKind::plugin:
            return "dlls";
        case MissingKind::xref:
            return "xrefs";
        case MissingKind::texture_coordinates:
            return "uvws";
    }
    return "";
}

Json camera_names(const Scene& scene) {
    Json names = Json::array();
    for (const SceneNode& node : scene.nodes) {
        if (node.camera != -1) {
            names.push_back(node.name);
        }
    }
    return names;
}

Json class_id(const RenderSettings& settings) {
    if (!settings.renderer_class_id) {
        return nullptr;
    }
    Json words = Json::array();
    for (const std::uint32_t word : *settings.renderer_class_id) {
        char text[16];
        std::snprintf(text, sizeof text, "0x%08x", word);
        words.push_back(text);
    }
    return words;
}

Json element_list(const RenderSettings& settings) {
    Json elements = Json::array();
    for (const RenderElementSettings& element : settings.elements) {
        elements.push_back({{"type", element_type_name(element.type)}, {"output", element.output}});
    }
    return elements;
}

Json missing_list(const Scene& scene) {
    Json missing = Json::array();
    for (const MissingPart& part : scene.missing) {
        missing.push_back({{"kind", kind_word(part.kind)}, {"name", part.name}});
    }
    return missing;
}

}  // namespace

std::string scene_description(Document& document) {
    const Scene& scene = *document.scene();
    const RenderSettings& settings = document.settings();
    const Interval range = document.animation_range();
    const Json description{{"hostVersion", CORRIVANE_VERSION},
                           {"scene", document.file_name()},
                           {"cameras", camera_names(scene)},
                           {"activeView", settings.active_view},
                           {"firstFrame", range.Start() / document.ticks_per_frame()},
                           {"lastFrame", range.End() / document.ticks_per_frame()},
                           {"frameRate", settings.frame_rate},
                           {"width", settings.width},
                           {"height", settings.height},
                           {"pixelAspect", settings.pixel_aspect},
                           {"output", settings.output},
                           {"saveFile", settings.save_file},
                           {"skipExistingFrames", settings.skip_existing_frames},
                           {"tgaAlphaSplit", settings.tga_alpha_split},
                           {"elementsActive", settings.elements_active},
                           {"elements", element_list(settings)},
                           {"rendererClassId", class_id(settings)},
                           {"rendererInstalled", document.renderer() != nullptr},
                           {"rendererRequirements", settings.renderer_requirements},
                           {"missing", missing_list(scene)}};
    // Names in a scene need not be UTF-8.
    return description.dump(1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace corrivane::host
