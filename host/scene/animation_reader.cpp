#include "scene/animation_reader.h"

#include "json/shortened.h"
#include "scene/value_readers.h"

#include <algorithm>
#include <functional>

namespace corrivane::host {

namespace {

using Channel = AnimationChannel;

Channel::Interpolation read_interpolation(const json::Value& channel, const json::Value& sampler) {
    const std::string name = text_or(sampler, "interpolation", "LINEAR");
    if (name == "LINEAR") return Channel::Interpolation::linear;
    if (name == "STEP") return Channel::Interpolation::step;
    if (name == "CUBICSPLINE") return Channel::Interpolation::cubic_spline;
    channel.fail("no interpolation \"" + json::shortened(name) + "\"");
}

}  // namespace

void AnimationReader::read_all() {
    if (!m_animations) return;
    for (const json::Value animation : m_animations->elements()) {
        const PartList samplers(animation.find("samplers"), "sampler");
        const auto channels = animation.find("channels");
        if (!channels) continue;
        for (const json::Value channel : channels->elements())
            read_channel(channel, samplers);
    }
}

void AnimationReader::read_channel(const json::Value& part, const PartList& samplers) {
    const json::Value target = part.at("target");
    // Without a node, an extension says what is animated.
    const auto number = target.find("node");
    if (!number) return;
    const std::size_t node = m_nodes.index(*number, part);
    const json::Value sampler = samplers[samplers.at(part, "sampler")];
    const auto path = read_path(part, target);
    if (!path || m_node_indices[node] == -1) return;
    Channel channel;
    channel.path = *path;
    channel.node = m_node_indices[node];
    if (m_scene.nodes[static_cast<std::size_t>(channel.node)].matrix != nullptr) {
        part.fail("node " + std::to_string(node) + " has a matrix and cannot be animated");
    }
    read_keys(part, sampler, channel);
}

void AnimationReader::read_keys(const json::Value& part, const json::Value& sampler, Channel& channel) {
    const json::Value input = sampler.at("input");
    const json::Value output = sampler.at("output");
    if (m_accessors.is_missing(input) || m_accessors.is_missing(output)) {
        m_context.warn(part, "left out, its buffer is missing");
        return;
    }
    m_context.take(2 * sizeof(Channel), part);
    channel.interpolation = read_interpolation(part, sampler);
    read_times(part, input, channel);
    read_values(part, output, channel);
    m_scene.duration = std::max(m_scene.duration, channel.times.back());
    m_scene.channels.push_back(std::move(channel));
}

std::optional<Channel::Path> AnimationReader::read_path(const json::Value& channel,
                                                        const json::Value& target) {
    const std::string_view path = target.at("path").text();
    if (path == "translation") return Channel::Path::translation;
    if (path == "rotation") return Channel::Path::rotation;
    if (path == "scale") return Channel::Path::scale;
    m_context.warn(channel, "\"" + json::shortened(path) + "\" is not animated");
    return std::nullopt;
}

void AnimationReader::read_times(const json::Value& channel, const json::Value& input, Channel& result) {
    result.times = m_accessors.vectors<float>(input);
    const auto stuck = std::adjacent_find(result.times.begin(), result.times.end(), std::greater_equal<>());
    if (stuck != result.times.end()) {
        channel.fail("the time does not increase after key " + std::to_string(stuck - result.times.begin()));
    }
}

void AnimationReader::read_values(const json::Value& channel, const json::Value& output, Channel& result) {
    const bool cubic = result.interpolation == Channel::Interpolation::cubic_spline;
    const std::size_t expected = result.times.size() * (cubic ? 3 : 1);
    const std::uint64_t count = m_accessors.count(output);
    if (count != expected) {
        channel.fail("has " + std::to_string(count) + " values where its keys need " +
                     std::to_string(expected));
    }
    if (result.path == Channel::Path::rotation) {
        result.values = m_accessors.vectors<Imath::V4f>(output);
        return;
    }
    const auto values = m_accessors.vectors<Imath::V3f>(output);
    m_context.take(expected, sizeof(Imath::V4f), channel);
    result.values.reserve(values.size());
    for (const Imath::V3f& value : values)
        result.values.emplace_back(value.x, value.y, value.z, 0.0f);
}

}  // namespace corrivane::host
