#pragma once

#include "scene/gltf_document.h"
#include "scene/scene.h"

#include <unordered_map>

namespace corrivane::host {

/// Reads the cameras that nodes hold, once each, into the scene.
class CameraReader {
public:
    CameraReader(LoadContext& context, const GltfDocument& document, Scene& scene)
        : m_context(context), m_scene(scene), m_cameras(document.list("cameras", "camera")) {}

    /// The scene's index of a node's camera, -1 when it has none.
    int camera_of(const json::Value& node);

private:
    Camera read(const json::Value& part);
    Projection read_perspective(const json::Value& lens);
    Projection read_orthographic(const json::Value& lens);
    void read_zfar(const json::Value& lens, Projection& projection);
    /// A value that glTF allows but that nothing can be seen with becomes the nearest one that serves; the warning
    /// is about `number`.
    float usable(const json::Value& number, double value, double low, double high);

    LoadContext& m_context;
    Scene& m_scene;
    PartList m_cameras;
    std::unordered_map<std::size_t, int> m_read;  ///< from the document's index to the scene's
};

}  // namespace corrivane::host
