#include "core/render_elements.h"

#include <utility>

namespace corrivane::host {

HostRenderElement::HostRenderElement(RenderElementSettings settings) : m_settings(std::move(settings)) {
    restore_name();
}

void HostRenderElement::GetPBBitmap(PBBitmap*& bitmap) {
    bitmap = m_settings.output.empty() ? nullptr : &m_target;
}

void HostRenderElement::set_output(const std::string& name) {
    m_settings.output = name;
    restore_name();
}

void HostRenderElement::restore_name() {
    m_target.bi.SetName(m_settings.output.c_str());
}

RenderElements::RenderElements(const RenderSettings& settings)
    : m_active(settings.elements_active), m_elements(settings.elements.begin(), settings.elements.end()) {}

IRenderElement* RenderElements::GetRenderElement(int index) {
    if (index < 0 || index >= NumRenderElements()) {
        return nullptr;
    }
    return &m_elements[static_cast<std::size_t>(index)];
}

void RenderElements::restore_names() {
    for (HostRenderElement& element : m_elements) {
        element.restore_name();
    }
}

}  // namespace corrivane::host
