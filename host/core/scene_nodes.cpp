#include "core/scene_nodes.h"

#include "core/class_ids.h"

#include <algorithm>
#include <string>

namespace corrivane::host {

Class_ID PlainObject::ClassID() const {
    return plain_object_class;
}

HostCamera::HostCamera(Class_ID class_id, std::unique_ptr<CameraEffect> effect)
    : m_class_id(class_id), m_effect(std::move(effect)) {}

BOOL HostCamera::GetMultiPassEffectEnabled(TimeValue /*time*/, Interval& valid) const {
    valid = Interval();
    return m_effect != nullptr && m_effect->enabled() ? TRUE : FALSE;
}

HostNode::HostNode(SceneNodes& all, int index, std::unique_ptr<HostCamera> camera)
    : m_all(all), m_index(index), m_camera(std::move(camera)) {}

const SceneNode& HostNode::node() const {
    return m_all.scene().nodes[static_cast<std::size_t>(m_index)];
}

bool HostNode::is_camera() const {
    return node().camera >= 0;
}

const char* HostNode::GetName() const {
    return node().name.c_str();
}

int HostNode::NumberOfChildren() const {
    return static_cast<int>(node().children.size());
}

INode* HostNode::GetChildNode(int index) {
    if (index < 0 || index >= NumberOfChildren()) {
        return nullptr;
    }
    return m_all.at(node().children[static_cast<std::size_t>(index)]);
}

ObjectState HostNode::EvalWorldState(TimeValue /*time*/, BOOL /*evalHidden*/) {
    if (m_camera != nullptr) {
        return {m_camera.get()};
    }
    return {m_all.plain_object()};
}

SceneNodes::SceneNodes(const std::shared_ptr<const Scene>& scene, const RenderSettings& settings)
    : m_scene(scene), m_settings(settings) {
    add_new();
}

void SceneNodes::add_new() {
    for (std::size_t i = m_nodes.size(); i < m_scene->nodes.size(); ++i) {
        m_nodes.emplace_back(*this, static_cast<int>(i), make_camera(m_scene->nodes[i], m_settings));
    }
}

std::unique_ptr<HostCamera> SceneNodes::make_camera(const SceneNode& node,
                                                    const RenderSettings& settings) const {
    if (node.camera < 0 && !node.multipass) {
        return nullptr;
    }
    std::unique_ptr<CameraEffect> effect;
    if (node.multipass) {
        effect = std::make_unique<CameraEffect>(*node.multipass, m_scene, settings);
    }
    return std::make_unique<HostCamera>(has_effect_holder(node) ? holder_camera_class : camera_class,
                                        std::move(effect));
}

bool SceneNodes::has_effect_holder(const SceneNode& node) const {
    return std::ranges::any_of(node.children, [this](int index) {
        const SceneNode& child = m_scene->nodes[static_cast<std::size_t>(index)];
        return child.name == effect_holder_name && child.multipass != nullptr;
    });
}

HostNode* SceneNodes::at(int index) {
    if (index < 0 || static_cast<std::size_t>(index) >= m_nodes.size()) {
        return nullptr;
    }
    return &m_nodes[static_cast<std::size_t>(index)];
}

HostNode* SceneNodes::find(std::string_view name) {
    return at(m_scene->find_node(std::string(name)));
}

bool SceneNodes::contains(const INode* node) const {
    return std::ranges::any_of(m_nodes, [node](const HostNode& ours) { return &ours == node; });
}

float image_aspect(const RenderSettings& settings) {
    return static_cast<float>(settings.width) * settings.pixel_aspect / static_cast<float>(settings.height);
}

}  // namespace corrivane::host
