#pragma once

#include "scene/render_settings.h"

#include <max/renderer.h>

#include <memory>
#include <string>
#include <vector>

namespace corrivane::host {

/// A render element of the scene. Where it writes is its own record; an element without an output name
/// has none.
class HostRenderElement final : public IRenderElement {
public:
    explicit HostRenderElement(RenderElementSettings settings);

    void GetPBBitmap(PBBitmap*& bitmap) override;

    ElementType type() const { return m_settings.type; }
    const std::string& name() const { return m_name; }
    void set_name(std::string name) { m_name = std::move(name); }
    /// One that is off is not rendered, and written nowhere.
    bool is_enabled() const { return m_enabled; }
    void set_enabled(bool enabled) { m_enabled = enabled; }
    const std::string& output() const { return m_settings.output; }
    void set_output(const std::string& name);
    /// The bitmap that the next frame is rendered into, null for none. Not ours.
    Bitmap* bitmap() const { return m_target.bm; }
    /// Gives the description the name that the scene configures.
    void restore_name();

private:
    RenderElementSettings m_settings;
    std::string m_name;
    bool m_enabled = true;
    PBBitmap m_target;
};

class RenderElements final : public IRenderElementMgr {
public:
    explicit RenderElements(const RenderSettings& settings);

    BOOL GetElementsActive() const override { return m_active ? TRUE : FALSE; }
    int NumRenderElements() const override { return static_cast<int>(m_elements.size()); }
    /// Null for an index that is not there.
    IRenderElement* GetRenderElement(int index) override;

    const std::vector<std::unique_ptr<HostRenderElement>>& all() const { return m_elements; }
    void set_active(bool active) { m_active = active; }
    HostRenderElement& add(RenderElementSettings settings);
    /// The element stays at its address, since a plug-in may have it. False when it is none of these.
    bool remove(const HostRenderElement& element);
    /// Whoever renders a frame numbers the names that it finds, so each new frame must find the
    /// configured ones.
    void restore_names();

private:
    bool m_active;
    std::vector<std::unique_ptr<HostRenderElement>> m_elements;
    std::vector<std::unique_ptr<HostRenderElement>> m_removed;
};

}  // namespace corrivane::host
