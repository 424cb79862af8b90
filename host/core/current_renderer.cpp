#include "core/current_renderer.h"

#include "core/class_ids.h"

#include <algorithm>

namespace corrivane::host {

CurrentRenderer::CurrentRenderer(const RenderSettings& settings)
    : m_class_id(settings.renderer_class_id ? to_class_id(*settings.renderer_class_id)
                                            : default_renderer_class),
      m_requirements(settings.renderer_requirements) {}

BaseInterface* CurrentRenderer::GetInterface(Interface_ID id) {
    if (id != IRENDERERREQUIREMENTS_INTERFACE_ID || m_requirements.empty()) {
        return nullptr;
    }
    return static_cast<IRendererRequirements*>(this);
}

bool CurrentRenderer::HasRequirement(int requirement) const {
    return std::ranges::find(m_requirements, requirement) != m_requirements.end();
}

}  // namespace corrivane::host
