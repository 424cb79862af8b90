#pragma once

#include "scene/render_settings.h"

#include <max/renderer.h>

#include <vector>

namespace corrivane::host {

/// The renderer that the scene asks for, as a class: its identifier and its requirements are the
/// scene's, what it renders with is always the same. It has IRendererRequirements only if the scene
/// lists requirements.
class CurrentRenderer final : public ::Renderer, private IRendererRequirements {
public:
    explicit CurrentRenderer(const RenderSettings& settings);

    Class_ID ClassID() const override { return m_class_id; }
    BaseInterface* GetInterface(Interface_ID id) override;

private:
    bool HasRequirement(int requirement) const override;

    Class_ID m_class_id;
    std::vector<int> m_requirements;
};

}  // namespace corrivane::host
