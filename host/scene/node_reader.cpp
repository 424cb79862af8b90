#include "scene/node_reader.h"

#include "scene/limits.h"
#include "scene/settings_reader.h"
#include "scene/value_readers.h"

#include <algorithm>

namespace corrivane::host {

namespace {

constexpr Range lengths{-limits::length, limits::length};

/// What is left of a node's list of children.
struct Children {
    json::ElementIterator next;
    json::ElementIterator end;
    json::Value node;
    int index;  ///< of the node in the scene
};

}  // namespace

std::vector<int> NodeReader::read_all() {
    m_context.take(m_nodes.size(), sizeof(int), m_document.root());
    m_indices.assign(m_nodes.size(), -1);
    // For all, so that it never has to grow; what is not used of it is never touched.
    m_scene.nodes.reserve(m_nodes.size());
    if (const auto scene = find_scene()) {
        read_scene(*scene);
    } else {
        read_roots();
    }
    return std::move(m_indices);
}

/// The default one, else the first.
std::optional<json::Value> NodeReader::find_scene() const {
    const PartList scenes = m_document.list("scenes", "scene");
    const auto number = m_document.root().find("scene");
    if (number && scenes.size() > 0) return scenes[scenes.index(*number, *number)];
    return scenes.size() > 0 ? std::optional(scenes[0]) : std::nullopt;
}

void NodeReader::read_scene(const json::Value& part) {
    m_scene.name = text_or(part, "name", "");
    m_scene.settings = read_render_settings(part.find("extras"));
    const auto roots = part.find("nodes");
    if (!roots) return;
    for (const json::Value root : roots->elements())
        place_tree(m_nodes.index(root, part));
}

/// All nodes that are nobody's children, in a document without scenes.
void NodeReader::read_roots() {
    std::vector<bool> is_child(m_nodes.size(), false);
    for (std::size_t i = 0; i < m_nodes.size(); ++i) {
        const auto children = m_nodes[i].find("children");
        if (!children) continue;
        for (const json::Value child : children->elements())
            is_child[m_nodes.index(child, m_nodes[i])] = true;
    }
    for (std::size_t i = 0; i < is_child.size(); ++i) {
        if (!is_child[i]) place_tree(i);
    }
}

/// With a list instead of recursion: a chain of nodes may be as deep as the file is long.
void NodeReader::place_tree(std::size_t root) {
    std::vector<Children> open;
    const auto enter = [&](std::size_t index, int parent) {
        const int placed = place(index, parent);
        if (const auto list = m_nodes[index].find("children")) {
            const json::Elements children = list->elements();
            open.push_back({children.begin(), children.end(), m_nodes[index], placed});
        }
    };
    enter(root, -1);
    while (!open.empty()) {
        Children& children = open.back();
        if (children.next == children.end) {
            open.pop_back();
            continue;
        }
        const std::size_t child = m_nodes.index(*children.next, children.node);
        ++children.next;
        enter(child, children.index);
    }
}

int NodeReader::place(std::size_t index, int parent) {
    const json::Value part = m_nodes[index];
    if (m_indices[index] != -1) {
        throw json::Error(part.path(), " is reached twice: it has two parents or is its own ancestor");
    }
    m_context.take(sizeof(SceneNode), part);
    const int placed = static_cast<int>(m_scene.nodes.size());
    m_indices[index] = placed;
    m_scene.nodes.push_back(read_node(part));
    m_scene.nodes.back().parent = parent;
    if (parent >= 0) {
        m_context.take(2, sizeof(int), part);
        m_scene.nodes[static_cast<std::size_t>(parent)].children.push_back(placed);
    }
    return placed;
}

SceneNode NodeReader::read_node(const json::Value& part) {
    SceneNode node;
    node.mesh = m_meshes.mesh_of(part);
    node.camera = m_cameras.camera_of(part);
    node.light = m_lights.light_of(part);
    const auto name = part.find("name");
    node.name = name && !name->text().empty() ? name->text() : fallback_name(node);
    read_transform(part, node);
    if (part.find("skin")) m_context.warn(part, "skins are not supported, the mesh is shown at rest");
    if (const auto effect = read_multipass(part.find("extras"))) {
        node.multipass = std::make_shared<const MultipassEffect>(*effect);
    }
    return node;
}

void NodeReader::read_transform(const json::Value& part, SceneNode& node) {
    if (part.find("matrix")) {
        const auto values = numbers_or<16>(part, "matrix", lengths, {});
        const bool affine = values[3] == 0 && values[7] == 0 && values[11] == 0 && values[15] == 1;
        if (!affine) throw json::Error(part.at("matrix").path(), " does not end in 0, 0, 0, 1");
        Imath::M44f matrix;
        std::copy(values.begin(), values.end(), &matrix.x[0][0]);
        node.matrix = std::make_shared<const Imath::M44f>(matrix);
        return;
    }
    Transform& transform = node.transform;
    const auto t = numbers_or<3>(part, "translation", lengths, {0, 0, 0});
    transform.translation = {t[0], t[1], t[2]};
    const auto s = numbers_or<3>(part, "scale", lengths, {1, 1, 1});
    transform.scale = {s[0], s[1], s[2]};
    if (!part.find("rotation")) return;
    const auto r = numbers_or<4>(part, "rotation", lengths, {});
    transform.rotation = Imath::Quatf(r[3], r[0], r[1], r[2]);
    if (!(transform.rotation.length() > 1e-6f)) {
        throw json::Error(part.at("rotation").path(), " has no length");
    }
    transform.rotation.normalize();
}

std::string NodeReader::fallback_name(const SceneNode& node) const {
    if (node.camera >= 0) return m_scene.cameras[static_cast<std::size_t>(node.camera)].name;
    if (node.light >= 0) return m_scene.lights[static_cast<std::size_t>(node.light)].name;
    if (node.mesh >= 0) return m_scene.meshes[static_cast<std::size_t>(node.mesh)].name;
    return {};
}

}  // namespace corrivane::host
