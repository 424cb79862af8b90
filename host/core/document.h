#pragma once

#include "core/current_renderer.h"
#include "core/render_elements.h"
#include "core/scene_nodes.h"
#include "scene/scene.h"

#include <max/bitmap.h>
#include <max/types.h>

#include <memory>
#include <optional>
#include <string>

namespace corrivane::host {

/// The open scene and what may be changed about it after the load: time, size, frame rate, output. A new
/// document takes its place at each load and each reset. Belongs to the main thread.
class Document {
public:
    /// An empty scene without a name.
    Document();
    /// `file_name` is the path that the scene was asked for under, usually a Windows path.
    Document(std::shared_ptr<const Scene> scene, std::string file_name);
    Document(const Document&) = delete;
    Document& operator=(const Document&) = delete;

    const std::shared_ptr<const Scene>& scene() const { return m_scene; }
    const RenderSettings& settings() const { return m_settings; }
    SceneNodes& nodes() { return m_nodes; }
    RenderElements& elements() { return m_elements; }
    /// Null when the scene asks for the renderer (0, 0): it stands for one that is not installed.
    ::Renderer* renderer() { return m_renderer ? &*m_renderer : nullptr; }
    /// The render settings' output: its name is the output file's.
    BitmapInfo& output() { return m_output; }

    const std::string& file_name() const { return m_file_name; }

    TimeValue time() const { return m_time; }
    void set_time(TimeValue time) { m_time = time; }
    int ticks_per_frame() const;
    /// In ticks. From frame 0 to the frame that shows the last key; to frame 100 in a scene
    /// without animation.
    Interval animation_range() const { return m_animation_range; }
    /// Throws std::invalid_argument when the end lies before the start.
    void set_animation_range(Interval range);

    /// Each throws std::invalid_argument, which names the limits, for a number outside them.
    void set_frame_rate(int frames_per_second);
    void set_width(int pixels);
    void set_height(int pixels);

    /// Where a node stands at the current time, object to world. The index must be valid.
    Imath::M44f node_placement(int node) const;

    /// The index of the node that the active viewport looks through, -1 for the view that frames the scene.
    int view_camera() const;

private:
    std::shared_ptr<const Scene> m_scene;
    std::string m_file_name;
    RenderSettings m_settings;
    SceneNodes m_nodes;
    RenderElements m_elements;
    std::optional<CurrentRenderer> m_renderer;
    BitmapInfo m_output;
    TimeValue m_time = 0;
    Interval m_animation_range;
};

}  // namespace corrivane::host
