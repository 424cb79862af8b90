#pragma once

#include "scene/render_settings.h"

#include <max/renderer.h>

#include <vector>

namespace corrivane::host {

/// A render element of the scene. Where it writes is its own record; an element without an output name
/// has none.
class HostRenderElement final : public IRenderElement {
public:
    explicit HostRenderElement(RenderElementSettings settings);

    void GetPBBitmap(PBBitmap*& bitmap) override;

    ElementType type() const { return m_settings.type; }
    /// The configured name, as a Windows path; empty for none.
    const std::string& output() const { return m_settings.output; }
    /// Holds from the next frame on, as far as this scene stays open.
    void set_output(const std::string& name);
    /// The bitmap that the next frame is rendered into, null for none. Not ours.
    Bitmap* bitmap() const { return m_target.bm; }
    /// Gives the description the name that the scene configures.
    void restore_name();

private:
    RenderElementSettings m_settings;
    PBBitmap m_target;
};

class RenderElements final : public IRenderElementMgr {
public:
    explicit RenderElements(const RenderSettings& settings);

    BOOL GetElementsActive() const override { return m_active ? TRUE : FALSE; }
    int NumRenderElements() const override { return static_cast<int>(m_elements.size()); }
    /// Null for an index that is not there.
    IRenderElement* GetRenderElement(int index) override;

    const std::vector<HostRenderElement>& all() const { return m_elements; }
    /// Whoever renders a frame numbers the names that it finds, so each new frame must find the
    /// configured ones.
    void restore_names();

private:
    bool m_active;
    std::vector<HostRenderElement> m_elements;
};

}  // namespace corrivane::host
