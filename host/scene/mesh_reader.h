#pragma once

#include "scene/accessor_reader.h"
#include "scene/material_reader.h"

#include <unordered_map>

namespace corrivane::host {

/// Reads the meshes that nodes show, once each, into the scene.
class MeshReader {
public:
    MeshReader(LoadContext& context, const GltfDocument& document, AccessorReader& accessors,
               MaterialReader& materials, Scene& scene)
        : m_context(context),
          m_accessors(accessors),
          m_materials(materials),
          m_scene(scene),
          m_meshes(document.list("meshes", "mesh")) {}

    /// The scene's index of a node's mesh, -1 when it has none.
    int mesh_of(const json::Value& node);

private:
    Mesh read(const json::Value& part);
    void read_primitive(const json::Value& part, Mesh& mesh);
    bool can_be_drawn(const json::Value& part, int mode);
    bool is_missing(const json::Value& part);
    void read_attributes(const json::Value& attributes, Primitive& primitive);
    template <typename Vector>
    std::vector<Vector> read_attribute(const json::Value& attributes, std::string_view name,
                                       std::size_t expected);
    std::vector<Imath::C4f> read_colors(const json::Value& attributes, std::size_t expected);
    void read_triangles(const json::Value& part, int mode, Primitive& primitive);
    std::vector<std::uint32_t> read_corners(const json::Value& part, std::size_t positions);
    void check_texture_coordinates(const json::Value& part, Primitive& primitive);

    LoadContext& m_context;
    AccessorReader& m_accessors;
    MaterialReader& m_materials;
    Scene& m_scene;
    PartList m_meshes;
    std::unordered_map<std::size_t, int> m_read;  ///< from the document's index to the scene's
};

}  // namespace corrivane::host
