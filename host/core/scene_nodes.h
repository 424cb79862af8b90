#pragma once

#include "core/camera_effect.h"
#include "scene/scene.h"

#include <max/scene.h>

#include <deque>
#include <memory>
#include <string_view>

namespace corrivane::host {

/// What the nodes of a scene evaluate to where they are no camera and carry no effect.
class PlainObject final : public Object {
public:
    Class_ID ClassID() const override;
};

/// A camera, or the holder of a camera's multi-pass effect.
class HostCamera final : public CameraObject {
public:
    HostCamera(Class_ID class_id, std::unique_ptr<CameraEffect> effect);

    Class_ID ClassID() const override { return m_class_id; }
    /// False where there is no effect. The answer holds for all times.
    BOOL GetMultiPassEffectEnabled(TimeValue time, Interval& valid) const override;
    IMultiPassCameraEffect* GetIMultiPassCameraEffect() override { return m_effect.get(); }

private:
    Class_ID m_class_id;
    std::unique_ptr<CameraEffect> m_effect;
};

class SceneNodes;

/// A node of the loaded scene.
class HostNode final : public INode {
public:
    HostNode(SceneNodes& all, int index, std::unique_ptr<HostCamera> camera);

    /// The node's index in the scene.
    int index() const { return m_index; }
    /// Whether the scene's node has a camera to render through (the holder of an effect has none).
    bool is_camera() const;

    const char* GetName() const override;
    int NumberOfChildren() const override;
    /// Null for an index that is not there.
    INode* GetChildNode(int index) override;
    /// An object of the node's own; a CameraObject where the node is a camera or carries a multi-pass effect.
    ObjectState EvalWorldState(TimeValue time, BOOL evalHidden) override;

private:
    const SceneNode& node() const;

    SceneNodes& m_all;
    int m_index;
    std::unique_ptr<HostCamera> m_camera;
};

/// All nodes of a scene, at addresses that stay as long as this object. A camera that has a child node called
/// "Multipass" with a multi-pass effect is of the class that looks for its effect there.
class SceneNodes {
public:
    /// `scene`, which names the scene as it is at the time, and `settings` must outlive this.
    SceneNodes(const std::shared_ptr<const Scene>& scene, const RenderSettings& settings);
    SceneNodes(const SceneNodes&) = delete;
    SceneNodes& operator=(const SceneNodes&) = delete;

    const Scene& scene() const { return *m_scene; }
    /// Makes nodes for those that the scene has got since.
    void add_new();

    /// Null for an index that is not there; -1 is one.
    HostNode* at(int index);
    /// The first node of that name, null when there is none.
    HostNode* find(std::string_view name);
    /// Whether the pointer is to one of these nodes; it may point anywhere.
    bool contains(const INode* node) const;

    Object* plain_object() { return &m_plain_object; }

private:
    std::unique_ptr<HostCamera> make_camera(const SceneNode& node, const RenderSettings& settings) const;
    bool has_effect_holder(const SceneNode& node) const;

    const std::shared_ptr<const Scene>& m_scene;
    const RenderSettings& m_settings;
    PlainObject m_plain_object;
    std::deque<HostNode> m_nodes;
};

/// The width of the settings' image over its height on the screen.
float image_aspect(const RenderSettings& settings);

}  // namespace corrivane::host
