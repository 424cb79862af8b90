#include "core/render_elements.h"

#include <algorithm>
#include <utility>

namespace corrivane::host {

HostRenderElement::HostRenderElement(RenderElementSettings settings)
    : m_settings(std::move(settings)), m_name(element_type_name(m_settings.type)) {
    restore_name();
}

void HostRenderElement::GetPBBitmap(PBBitmap*& bitmap) {
    bitmap = m_settings.output.empty() || !m_enabled ? nullptr : &m_target;
}

void HostRenderElement::set_output(const std::string& name) {
    m_settings.output = name;
    restore_name();
}

void HostRenderElement::restore_name() {
    m_target.bi.SetName(m_settings.output.c_str());
}

RenderElements::RenderElements(const RenderSettings& settings) : m_active(settings.elements_active) {
    for (const RenderElementSettings& element : settings.elements) {
        add(element);
    }
}

HostRenderElement& RenderElements::add(RenderElementSettings settings) {
    m_elements.push_back(std::make_unique<HostRenderElement>(std::move(settings)));
    return *m_elements.back();
}

bool RenderElements::remove(const HostRenderElement& element) {
    const auto found =
        std::ranges::find_if(m_elements, [&](const auto& ours) { return ours.get() == &element; });
    if (found == m_elements.end()) {
        return false;
    }
    m_removed.push_back(std::move(*found));
    m_elements.erase(found);
    return true;
}

IRenderElement* RenderElements::GetRenderElement(int index) {
    if (index < 0 || index >= NumRenderElements()) {
        return nullptr;
    }
    return m_elements[static_cast<std::size_t>(index)].get();
}

void RenderElements::restore_names() {
    for (const auto& element : m_elements) {
        element->restore_name();
    }
}

}  // namespace corrivane::host
