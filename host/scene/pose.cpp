#include "scene/scene.h"

#include <algorithm>
#include <cmath>

namespace corrivane::host {

namespace {

using Channel = AnimationChannel;

Imath::Quatf quaternion(const Imath::V4f& v) {
    return {v.w, v.x, v.y, v.z};
}

Imath::V4f linear(const Imath::V4f& a, const Imath::V4f& b, float t) {
    return a + (b - a) * t;
}

/// The shorter way round between two rotations, at constant speed. Keys need not be quite of unit length.
Imath::V4f spherical(const Imath::V4f& a, const Imath::V4f& b, float t) {
    const Imath::Quatf q = Imath::slerpShortestArc(quaternion(a).normalized(), quaternion(b).normalized(), t);
    return {q.v.x, q.v.y, q.v.z, q.r};
}

/// glTF's cubic spline: Hermite, with tangents given per second.
Imath::V4f cubic(const Channel& channel, std::size_t key, float seconds, float t) {
    const Imath::V4f* from = &channel.values[key * 3];
    const Imath::V4f* to = from + 3;
    const float t2 = t * t;
    const float t3 = t2 * t;
    return from[1] * (2 * t3 - 3 * t2 + 1) + from[2] * (seconds * (t3 - 2 * t2 + t)) +
           to[1] * (3 * t2 - 2 * t3) + to[0] * (seconds * (t3 - t2));
}

Imath::V4f value_at(const Channel& channel, double seconds) {
    const bool is_cubic = channel.interpolation == Channel::Interpolation::cubic_spline;
    const auto value_of = [&](std::size_t key) { return channel.values[is_cubic ? key * 3 + 1 : key]; };
    const std::vector<float>& times = channel.times;
    if (!(seconds > times.front())) return value_of(0);
    if (seconds >= times.back()) return value_of(times.size() - 1);

    const auto next = std::upper_bound(times.begin(), times.end(), seconds);
    const auto key = static_cast<std::size_t>(next - times.begin()) - 1;
    if (channel.interpolation == Channel::Interpolation::step) return value_of(key);
    const float length = times[key + 1] - times[key];
    const auto t = static_cast<float>((seconds - times[key]) / length);
    if (is_cubic) return cubic(channel, key, length, t);
    if (channel.path == Channel::Path::rotation) return spherical(value_of(key), value_of(key + 1), t);
    return linear(value_of(key), value_of(key + 1), t);
}

void apply(const Channel& channel, double seconds, Transform& transform) {
    const Imath::V4f value = value_at(channel, seconds);
    switch (channel.path) {
        case Channel::Path::translation:
            transform.translation = {value.x, value.y, value.z};
            break;
        case Channel::Path::scale:
            transform.scale = {value.x, value.y, value.z};
            break;
        case Channel::Path::rotation:
            // A rotation without length turns nothing; normalized() keeps such a quaternion's identity.
            transform.rotation = quaternion(value).normalized();
            break;
    }
}

/// False of NaN too.
bool is_shown(const Imath::V3f& v) {
    return std::abs(v.x) <= farthest_shown && std::abs(v.y) <= farthest_shown &&
           std::abs(v.z) <= farthest_shown;
}

}  // namespace

Imath::M44f matrix_of(const Transform& transform) {
    Imath::M44f matrix = transform.rotation.toMatrix44();
    for (int axis = 0; axis < 3; ++axis) {
        for (int c = 0; c < 3; ++c)
            matrix[axis][c] *= transform.scale[axis];
        matrix[3][axis] = transform.translation[axis];
    }
    return matrix;
}

Transform transform_at(const Scene& scene, int node, double seconds) {
    Transform transform = scene.nodes[static_cast<std::size_t>(node)].transform;
    for (const Channel& channel : scene.channels)
        if (channel.node == node) apply(channel, seconds, transform);
    return transform;
}

Pose pose_at(const Scene& scene, double seconds) {
    std::vector<Transform> transforms(scene.nodes.size());
    for (std::size_t i = 0; i < scene.nodes.size(); ++i)
        transforms[i] = scene.nodes[i].transform;
    for (const Channel& channel : scene.channels) {
        apply(channel, seconds, transforms[static_cast<std::size_t>(channel.node)]);
    }
    Pose pose(scene.nodes.size());
    std::vector<bool> placed(scene.nodes.size());
    std::vector<std::size_t> waiting;
    for (std::size_t i = 0; i < scene.nodes.size(); ++i) {
        // From the node up to the first ancestor that has its place, and down again.
        for (int up = static_cast<int>(i); up >= 0 && !placed[static_cast<std::size_t>(up)];
             up = scene.nodes[static_cast<std::size_t>(up)].parent)
            waiting.push_back(static_cast<std::size_t>(up));
        for (; !waiting.empty(); waiting.pop_back()) {
            const std::size_t index = waiting.back();
            const SceneNode& node = scene.nodes[index];
            const Imath::M44f local = node.matrix ? *node.matrix : matrix_of(transforms[index]);
            pose[index] = node.parent < 0 ? local : local * pose[static_cast<std::size_t>(node.parent)];
            placed[index] = true;
        }
    }
    return pose;
}

Imath::Box3f bounds_of(const Scene& scene, const Pose& pose) {
    Imath::Box3f box;
    for (std::size_t i = 0; i < scene.nodes.size(); ++i) {
        if (scene.nodes[i].mesh < 0 || !scene.nodes[i].shown) continue;
        for (const Primitive& primitive :
             scene.meshes[static_cast<std::size_t>(scene.nodes[i].mesh)].primitives) {
            for (const Imath::V3f& position : primitive.positions) {
                const Imath::V3f point = position * pose[i];
                if (is_shown(point)) box.extendBy(point);
            }
        }
    }
    return box;
}

int Scene::find_node(const std::string& node_name) const {
    const auto found = std::find_if(nodes.begin(), nodes.end(),
                                    [&](const SceneNode& node) { return node.name == node_name; });
    return found == nodes.end() ? -1 : static_cast<int>(found - nodes.begin());
}

int Scene::find_camera(const std::string& node_name) const {
    const auto found = std::find_if(nodes.begin(), nodes.end(), [&](const SceneNode& node) {
        return node.camera >= 0 && node.name == node_name;
    });
    return found == nodes.end() ? -1 : static_cast<int>(found - nodes.begin());
}

}  // namespace corrivane::host
