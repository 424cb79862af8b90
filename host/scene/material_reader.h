#pragma once

#include "scene/texture_reader.h"

#include <unordered_map>

namespace corrivane::host {

/// Reads the materials that primitives use, once each, into the scene.
class MaterialReader {
public:
    MaterialReader(const GltfDocument& document, TextureReader& textures, Scene& scene)
        : m_textures(textures), m_scene(scene), m_materials(document.list("materials", "material")) {}

    /// The scene's index of a primitive's material; glTF's default one where it names none.
    int material_of(const json::Value& primitive);
    /// The scene's index of a copy that shows the factors alone.
    int without_textures(int material);

private:
    Material read(const json::Value& part);
    int add(Material material);

    TextureReader& m_textures;
    Scene& m_scene;
    PartList m_materials;
    std::unordered_map<std::size_t, int> m_read;  ///< from the document's index to the scene's
    std::unordered_map<int, int> m_without_textures;
    int m_default = -1;
};

}  // namespace corrivane::host
