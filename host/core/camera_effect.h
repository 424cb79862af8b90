#pragma once

#include "scene/scene.h"

#include <max/renderer.h>
#include <max/scene.h>

#include <memory>

namespace corrivane::host {

/// A camera's multi-pass effect as the core interface shows it. Depth of field gives each pass a view of its
/// own, motion blur a time of its own; the frame is the plain mean of the passes. An effect of one pass
/// changes nothing, so that its frame is, bit for bit, the one without an effect.
class CameraEffect final : public IMultiPassCameraEffect {
public:
    /// `scene` and `settings` give the cameras, the image's proportions and the frame rate at the time of each
    /// Apply; they must outlive this.
    CameraEffect(const MultipassEffect& effect, const std::shared_ptr<const Scene>& scene,
                 const RenderSettings& settings)
        : m_effect(effect), m_scene(scene), m_settings(settings) {}

    bool enabled() const { return m_effect.enabled; }

    Class_ID ClassID() const override;
    int TotalPasses(TimeValue time) const override;
    /// The camera's own view (null) for a pass that is not there and for a node that has no camera.
    ViewParams* Apply(INode* cameraNode, Object* cameraObject, int pass, TimeValue& time) override;
    /// Keeps `destination` at the mean of the passes so far, which must come in order. Bitmaps that are null
    /// or differ in size are left alone.
    void AccumulateBitmap(Bitmap* destination, const Bitmap* source, int pass, TimeValue time) override;
    void PostRenderFrame() override {}

private:
    MultipassEffect m_effect;
    const std::shared_ptr<const Scene>& m_scene;
    const RenderSettings& m_settings;
    /// What Apply last handed out.
    ViewParams m_view;
};

}  // namespace corrivane::host
