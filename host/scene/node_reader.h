#pragma once

#include "scene/camera_reader.h"
#include "scene/light_reader.h"
#include "scene/mesh_reader.h"

#include <optional>
#include <vector>

namespace corrivane::host {

/// Reads the scene to show: its settings, its nodes, and what those hold.
class NodeReader {
public:
    NodeReader(LoadContext& context, const GltfDocument& document, MeshReader& meshes, Scene& scene)
        : m_context(context),
          m_document(document),
          m_meshes(meshes),
          m_cameras(context, document, scene),
          m_lights(document, scene),
          m_scene(scene),
          m_nodes(document.list("nodes", "node")) {}

    /// Gives for each node of the document its index in the scene, -1 when the scene does not reach it.
    std::vector<int> read_all();

private:
    std::optional<json::Value> find_scene() const;
    void read_scene(const json::Value& part);
    void read_roots();
    void place_tree(std::size_t root);
    int place(std::size_t index, int parent);
    SceneNode read_node(const json::Value& part);
    void read_transform(const json::Value& part, SceneNode& node);
    std::string fallback_name(const SceneNode& node) const;

    LoadContext& m_context;
    const GltfDocument& m_document;
    MeshReader& m_meshes;
    CameraReader m_cameras;
    LightReader m_lights;
    Scene& m_scene;
    PartList m_nodes;
    std::vector<int> m_indices;
};

}  // namespace corrivane::host
