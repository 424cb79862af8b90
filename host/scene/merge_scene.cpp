#include "scene/merge_scene.h"

#include <algorithm>
#include <iterator>

namespace corrivane::host {

namespace {

/// -1 stays -1.
void shift(int& index, std::size_t by) {
    if (index >= 0) index += static_cast<int>(by);
}

template <typename T>
void append(std::vector<T>& to, std::vector<T>& from) {
    to.insert(to.end(), std::make_move_iterator(from.begin()), std::make_move_iterator(from.end()));
}

void shift_indices(Scene& part, const Scene& scene) {
    for (Texture& texture : part.textures)
        shift(texture.image, scene.images.size());
    for (Material& material : part.materials) {
        shift(material.base_color_texture.texture, scene.textures.size());
        shift(material.emissive_texture.texture, scene.textures.size());
    }
    for (Mesh& mesh : part.meshes) {
        for (Primitive& primitive : mesh.primitives)
            shift(primitive.material, scene.materials.size());
    }
    for (SceneNode& node : part.nodes) {
        shift(node.parent, scene.nodes.size());
        for (int& child : node.children)
            shift(child, scene.nodes.size());
        shift(node.mesh, scene.meshes.size());
        shift(node.camera, scene.cameras.size());
        shift(node.light, scene.lights.size());
    }
    for (AnimationChannel& channel : part.channels)
        shift(channel.node, scene.nodes.size());
}

}  // namespace

void merge_scene(Scene part, Scene& scene) {
    shift_indices(part, scene);
    append(scene.images.own(), part.images.own());
    append(scene.textures, part.textures);
    append(scene.materials, part.materials);
    append(scene.meshes.own(), part.meshes.own());
    append(scene.cameras, part.cameras);
    append(scene.lights, part.lights);
    append(scene.nodes, part.nodes);
    append(scene.channels, part.channels);
    scene.duration = std::max(scene.duration, part.duration);
}

}  // namespace corrivane::host
