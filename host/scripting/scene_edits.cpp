#include "scripting/scene_edits.h"

#include <ImathMatrixAlgo.h>

#include <algorithm>
#include <cmath>

namespace corrivane::host {

namespace {

using Channel = AnimationChannel;
using Path = Channel::Path;

Imath::V4f part_of(const Transform& transform, Path path) {
    switch (path) {
        case Path::translation:
            return {transform.translation.x, transform.translation.y, transform.translation.z, 0};
        case Path::scale:
            return {transform.scale.x, transform.scale.y, transform.scale.z, 0};
        case Path::rotation:
            break;
    }
    const Imath::Quatf& q = transform.rotation;
    return {q.v.x, q.v.y, q.v.z, q.r};
}

void set_part(Transform& transform, Path path, const Transform& from) {
    if (path == Path::translation) transform.translation = from.translation;
    if (path == Path::rotation) transform.rotation = from.rotation;
    if (path == Path::scale) transform.scale = from.scale;
}

Channel* find_channel(Scene& scene, int node, Path path) {
    // A later one wins where there are several.
    for (auto channel = scene.channels.rbegin(); channel != scene.channels.rend(); ++channel)
        if (channel->node == node && channel->path == path) return &*channel;
    return nullptr;
}

void set_key(Channel& channel, float seconds, const Imath::V4f& value) {
    const bool cubic = channel.interpolation == Channel::Interpolation::cubic_spline;
    const std::size_t width = cubic ? 3 : 1;
    const auto place = std::ranges::lower_bound(channel.times, seconds);
    const auto key = place - channel.times.begin();
    const auto first = channel.values.begin() + key * static_cast<std::ptrdiff_t>(width);
    if (place != channel.times.end() && *place == seconds) {
        first[cubic ? 1 : 0] = value;
        return;
    }
    channel.times.insert(place, seconds);
    std::vector<Imath::V4f> added(width, Imath::V4f(0));
    added[cubic ? 1 : 0] = value;
    channel.values.insert(first, added.begin(), added.end());
}

void add_key(Scene& scene, int node, Path path, const Transform& before, const Transform& wanted,
             double seconds) {
    Channel* channel = find_channel(scene, node, path);
    const auto moment = static_cast<float>(seconds);
    if (channel == nullptr) {
        Channel made;
        made.node = node;
        made.path = path;
        if (moment > 0) set_key(made, 0, part_of(before, path));
        scene.channels.push_back(std::move(made));
        channel = &scene.channels.back();
    }
    set_key(*channel, moment, part_of(wanted, path));
    scene.duration = std::max(scene.duration, moment);
}

/// Moves all keys by what lies between two values.
void move_keys(Channel& channel, const Transform& before, const Transform& wanted) {
    const bool cubic = channel.interpolation == Channel::Interpolation::cubic_spline;
    const Imath::Quatf turn = wanted.rotation * before.rotation.inverse();
    for (std::size_t i = cubic ? 1 : 0; i < channel.values.size(); i += cubic ? 3 : 1) {
        Imath::V4f& value = channel.values[i];
        if (channel.path == Path::translation) {
            value += part_of(wanted, channel.path) - part_of(before, channel.path);
        } else if (channel.path == Path::rotation) {
            const Imath::Quatf turned = turn * Imath::Quatf(value.w, value.x, value.y, value.z);
            value = {turned.v.x, turned.v.y, turned.v.z, turned.r};
        } else {
            for (int axis = 0; axis < 3; ++axis)
                value[axis] = before.scale[axis] != 0 ? value[axis] * wanted.scale[axis] / before.scale[axis]
                                                      : wanted.scale[axis];
        }
    }
}

SceneNode& node_at(Scene& scene, int node) {
    return scene.nodes[static_cast<std::size_t>(node)];
}

bool is_below(const Scene& scene, int node, int ancestor) {
    for (; node >= 0; node = scene.nodes[static_cast<std::size_t>(node)].parent)
        if (node == ancestor) return true;
    return false;
}

bool is_animated(const Scene& scene, int node) {
    return std::ranges::any_of(scene.channels,
                               [node](const Channel& channel) { return channel.node == node; });
}

Transform taken_apart(const Imath::M44f& matrix, const Transform& otherwise) {
    Imath::V3f scale;
    Imath::V3f shear;
    Imath::V3f angles;
    Imath::V3f place;
    if (!Imath::extractSHRT(matrix, scale, shear, angles, place, false)) {
        Transform kept = otherwise;
        kept.translation = matrix.translation();
        return kept;
    }
    Imath::M44f turned = matrix;
    Imath::removeScalingAndShear(turned, false);
    return {place, Imath::extractQuat(turned).normalized(), scale};
}

bool is_same(const Imath::M44f& left, const Imath::M44f& right) {
    return left.equalWithAbsError(right, 1e-4F);
}

Imath::M44f world_of(const Scene& scene, int node, double seconds) {
    return node < 0 ? Imath::M44f() : pose_at(scene, seconds)[static_cast<std::size_t>(node)];
}

}  // namespace

void place_node(Scene& scene, int node, const Transform& local, bool as_keys, double seconds) {
    const Transform before = transform_at(scene, node, seconds);
    for (const Path path : {Path::translation, Path::rotation, Path::scale}) {
        if (part_of(before, path) == part_of(local, path)) continue;
        Channel* channel = find_channel(scene, node, path);
        if (as_keys) {
            add_key(scene, node, path, before, local, seconds);
        } else if (channel != nullptr) {
            move_keys(*channel, before, local);
        } else {
            set_part(node_at(scene, node).transform, path, local);
        }
    }
}

void place_node(Scene& scene, int node, const Imath::M44f& local, bool as_keys, double seconds) {
    SceneNode& changed = node_at(scene, node);
    const bool was_matrix = changed.matrix != nullptr;
    Transform before = was_matrix ? taken_apart(*changed.matrix, {}) : transform_at(scene, node, seconds);
    Transform wanted = taken_apart(local, before);
    if (!as_keys && !is_animated(scene, node)) {
        changed.transform = wanted;
        changed.matrix =
            is_same(matrix_of(wanted), local) ? nullptr : std::make_shared<const Imath::M44f>(local);
        return;
    }
    if (was_matrix) {
        changed.transform = before;
        changed.matrix = nullptr;
    }
    // What has not been changed is not to get keys for being taken apart anew.
    constexpr float hair = 1e-5F;
    if (wanted.translation.equalWithAbsError(before.translation, hair))
        wanted.translation = before.translation;
    if (wanted.scale.equalWithAbsError(before.scale, hair)) wanted.scale = before.scale;
    if (std::abs(wanted.rotation ^ before.rotation) > 1 - 1e-6F) wanted.rotation = before.rotation;
    place_node(scene, node, wanted, as_keys, seconds);
}

bool set_parent(Scene& scene, int node, int parent, double seconds) {
    if (is_below(scene, parent, node)) return false;
    const Imath::M44f world = world_of(scene, node, seconds);
    SceneNode& moved = node_at(scene, node);
    if (moved.parent >= 0) std::erase(node_at(scene, moved.parent).children, node);
    moved.parent = parent;
    if (parent >= 0) node_at(scene, parent).children.push_back(node);
    const Imath::M44f local = world * world_of(scene, parent, seconds).inverse();
    place_node(scene, node, local, false, seconds);
    return true;
}

void remove_keys(Scene& scene, int node, double seconds) {
    if (!is_animated(scene, node)) return;
    node_at(scene, node).transform = transform_at(scene, node, seconds);
    std::erase_if(scene.channels, [node](const Channel& channel) { return channel.node == node; });
}

void delete_node(Scene& scene, int node, double seconds) {
    const std::vector<int> children = node_at(scene, node).children;
    for (const int child : children)
        set_parent(scene, child, -1, seconds);
    remove_keys(scene, node, seconds);
    SceneNode& gone = node_at(scene, node);
    if (gone.parent >= 0) std::erase(node_at(scene, gone.parent).children, node);
    gone = SceneNode{};
    gone.shown = false;
}

}  // namespace corrivane::host
