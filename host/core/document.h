#pragma once

#include "core/current_renderer.h"
#include "core/render_elements.h"
#include "core/scene_nodes.h"
#include "scene/scene.h"

#include <max/bitmap.h>
#include <max/types.h>

#include <cstdint>
#include <functional>
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

    /// Differs from that of every other document that this process has had.
    std::uint64_t id() const { return m_id; }

    const std::shared_ptr<const Scene>& scene() const { return m_scene; }
    /// Changes the scene, which the next frame shows; nodes may be added, but none taken away. Others that hold
    /// the scene keep what they have: where there are any, a copy is changed.
    void change_scene(const std::function<void(Scene&)>& change);
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
    void set_pixel_aspect(float aspect);
    void set_save_file(bool save) { m_settings.save_file = save; }
    void set_skip_existing_frames(bool skip) { m_settings.skip_existing_frames = skip; }
    void set_samples(int samples);
    /// The camera node that the active viewport looks through; empty for none.
    void set_active_view(std::string camera) { m_settings.active_view = std::move(camera); }

    /// Where a node stands at a time, object to world. The index must be valid.
    Imath::M44f node_placement(int node, TimeValue time) const;
    Imath::M44f node_placement(int node) const { return node_placement(node, m_time); }

    /// Plug-ins have been given addresses of this document's, which must stay valid.
    bool is_handed_out() const { return m_handed_out; }
    void note_handed_out() { m_handed_out = true; }

    /// The index of the node that the active viewport looks through, -1 for the view that frames the scene.
    int view_camera() const;

private:
    const std::uint64_t m_id;
    std::shared_ptr<const Scene> m_scene;
    bool m_scene_is_own = false;  ///< made by change_scene
    bool m_handed_out = false;
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
