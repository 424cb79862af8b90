#pragma once

#include "scene/accessor_reader.h"
#include "scene/gltf_document.h"
#include "scene/scene.h"

#include <vector>

// The readers that turn a document into a Scene, in the order in which they run: each relies on the ones
// before it. All of them report through the context (SceneError, MissingResource, warnings).
namespace corrivane::host {

/// Fills scene.images, textures and materials. The last material is glTF's default one.
/// Only images that a material uses are decoded.
void read_materials(LoadContext& context, const GltfDocument& document, AccessorReader& accessors,
                    Scene& scene);

/// Fills scene.meshes. May add factor-only copies of materials, for primitives that lack texture coordinates.
void read_meshes(LoadContext& context, const GltfDocument& document, AccessorReader& accessors, Scene& scene);

/// Fills scene.cameras, lights and nodes, and the settings from the scene's extras. The result gives for each
/// node of the file its index in scene.nodes, -1 when the file's scene does not reach it.
std::vector<int> read_nodes(LoadContext& context, const GltfDocument& document, Scene& scene);

/// Fills scene.channels and duration.
void read_animations(LoadContext& context, const GltfDocument& document, AccessorReader& accessors,
                     const std::vector<int>& node_indices, Scene& scene);

}  // namespace corrivane::host
