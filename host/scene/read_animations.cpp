#include "scene/part_readers.h"

#include <algorithm>
#include <functional>
#include <optional>

namespace corrivane::host {

namespace {

using Channel = AnimationChannel;

class AnimationReader {
public:
    AnimationReader(LoadContext& context, const GltfDocument& document, AccessorReader& accessors,
                    const std::vector<int>& node_indices, Scene& scene)
        : m_context(context),
          m_model(document.model),
          m_accessors(accessors),
          m_node_indices(node_indices),
          m_scene(scene) {}

    void read_all();

private:
    void read_channel(const tinygltf::Animation& animation, const tinygltf::AnimationChannel& source,
                      const std::string& who);
    /// Nothing for a property that is not animated here.
    std::optional<Channel::Path> read_path(const std::string& path, const std::string& who);
    Channel::Interpolation read_interpolation(const std::string& name, const std::string& who) const;
    void read_times(int accessor, const std::string& who, Channel& channel);
    void read_values(int accessor, const std::string& who, Channel& channel);

    LoadContext& m_context;
    const tinygltf::Model& m_model;
    AccessorReader& m_accessors;
    const std::vector<int>& m_node_indices;
    Scene& m_scene;
};

void AnimationReader::read_all() {
    for (std::size_t i = 0; i < m_model.animations.size(); ++i) {
        const tinygltf::Animation& animation = m_model.animations[i];
        for (std::size_t c = 0; c < animation.channels.size(); ++c) {
            const std::string who = numbered("animation", i) + ", " + numbered("channel", c);
            read_channel(animation, animation.channels[c], who);
        }
    }
}

void AnimationReader::read_channel(const tinygltf::Animation& animation,
                                   const tinygltf::AnimationChannel& source, const std::string& who) {
    const tinygltf::AnimationSampler& sampler =
        animation.samplers[m_context.index(source.sampler, animation.samplers.size(), "sampler", who)];
    const int target = m_context.optional_index(source.target_node, m_node_indices.size(), "node", who);
    const auto path = read_path(source.target_path, who);
    if (!path || target == -1) return;
    Channel channel;
    channel.path = *path;
    channel.node = m_node_indices[static_cast<std::size_t>(target)];
    if (channel.node == -1) return;
    if (m_scene.nodes[static_cast<std::size_t>(channel.node)].matrix) {
        m_context.fail(who + ": node " + std::to_string(target) + " has a matrix and cannot be animated");
    }
    if (m_accessors.is_missing(sampler.input, who + ": input") ||
        m_accessors.is_missing(sampler.output, who + ": output")) {
        m_context.warn(who + ": left out, its buffer is missing");
        return;
    }
    channel.interpolation = read_interpolation(sampler.interpolation, who);
    read_times(sampler.input, who + ": input", channel);
    read_values(sampler.output, who + ": output", channel);
    m_scene.duration = std::max(m_scene.duration, channel.times.back());
    m_scene.channels.push_back(std::move(channel));
}

std::optional<Channel::Path> AnimationReader::read_path(const std::string& path, const std::string& who) {
    if (path == "translation") return Channel::Path::translation;
    if (path == "rotation") return Channel::Path::rotation;
    if (path == "scale") return Channel::Path::scale;
    m_context.warn(who + ": \"" + path + "\" is not animated");
    return std::nullopt;
}

Channel::Interpolation AnimationReader::read_interpolation(const std::string& name,
                                                           const std::string& who) const {
    if (name == "STEP") return Channel::Interpolation::step;
    if (name == "CUBICSPLINE") return Channel::Interpolation::cubic_spline;
    if (name != "LINEAR") m_context.fail(who + ": no interpolation \"" + name + "\"");
    return Channel::Interpolation::linear;
}

void AnimationReader::read_times(int accessor, const std::string& who, Channel& channel) {
    channel.times = m_accessors.floats(accessor, 1, who);
    const auto stuck = std::adjacent_find(channel.times.begin(), channel.times.end(), std::greater_equal<>());
    if (stuck != channel.times.end()) {
        m_context.fail(who + ": the time does not increase after key " +
                       std::to_string(stuck - channel.times.begin()));
    }
}

void AnimationReader::read_values(int accessor, const std::string& who, Channel& channel) {
    const bool cubic = channel.interpolation == Channel::Interpolation::cubic_spline;
    const std::size_t expected = channel.times.size() * (cubic ? 3 : 1);
    if (m_accessors.count(accessor, who) != expected) {
        m_context.fail(who + " has " + std::to_string(m_accessors.count(accessor, who)) +
                       " values where its keys need " + std::to_string(expected));
    }
    if (channel.path == Channel::Path::rotation) {
        channel.values = m_accessors.vectors<Imath::V4f>(accessor, who);
    } else {
        m_context.take_decoded(expected, sizeof(Imath::V4f), who);
        for (const Imath::V3f& value : m_accessors.vectors<Imath::V3f>(accessor, who)) {
            channel.values.emplace_back(value.x, value.y, value.z, 0.0f);
        }
    }
}

}  // namespace

void read_animations(LoadContext& context, const GltfDocument& document, AccessorReader& accessors,
                     const std::vector<int>& node_indices, Scene& scene) {
    AnimationReader(context, document, accessors, node_indices, scene).read_all();
}

}  // namespace corrivane::host
