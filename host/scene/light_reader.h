#pragma once

#include "scene/gltf_document.h"
#include "scene/scene.h"

#include <unordered_map>

namespace corrivane::host {

/// Reads the lights of KHR_lights_punctual that nodes hold, once each, into the scene.
class LightReader {
public:
    LightReader(const GltfDocument& document, Scene& scene);

    /// The scene's index of a node's light, -1 when it has none.
    int light_of(const json::Value& node);

private:
    Scene& m_scene;
    PartList m_lights;
    std::unordered_map<std::size_t, int> m_read;  ///< from the document's index to the scene's
};

}  // namespace corrivane::host
