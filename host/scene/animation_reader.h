#pragma once

#include "scene/accessor_reader.h"
#include "scene/scene.h"

#include <optional>
#include <vector>

namespace corrivane::host {

/// Reads what animates the scene's nodes.
class AnimationReader {
public:
    /// `node_indices` gives for each node of the document its index in the scene, or -1.
    AnimationReader(LoadContext& context, const GltfDocument& document, AccessorReader& accessors,
                    const std::vector<int>& node_indices, Scene& scene)
        : m_context(context),
          m_accessors(accessors),
          m_node_indices(node_indices),
          m_scene(scene),
          m_nodes(document.list("nodes", "node")),
          m_animations(document.root().find("animations")) {}

    void read_all();

private:
    void read_channel(const json::Value& part, const PartList& samplers);
    /// Nothing for a property that is not animated here.
    std::optional<AnimationChannel::Path> read_path(const json::Value& channel, const json::Value& target);
    void read_keys(const json::Value& part, const json::Value& sampler, AnimationChannel& channel);
    void read_times(const json::Value& channel, const json::Value& input, AnimationChannel& result);
    void read_values(const json::Value& channel, const json::Value& output, AnimationChannel& result);

    LoadContext& m_context;
    AccessorReader& m_accessors;
    const std::vector<int>& m_node_indices;
    Scene& m_scene;
    PartList m_nodes;
    std::optional<json::Value> m_animations;
};

}  // namespace corrivane::host
