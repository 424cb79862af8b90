#include "core/document.h"

#include "core/class_ids.h"
#include "core/units.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <sstream>
#include <stdexcept>

namespace corrivane::host {

namespace {

constexpr int frames_without_animation = 100;

template <typename Number>
Number checked(const char* what, Number number, Number least, Number largest) {
    if (!(number >= least && number <= largest)) {
        std::ostringstream text;
        text << what << " must be between " << least << " and " << largest << ", got " << number;
        throw std::invalid_argument(text.str());
    }
    return number;
}

std::uint64_t next_id() {
    static std::uint64_t last = 0;
    return ++last;
}

/// At the most the last one whose time can be told in ticks.
int last_frame(const Scene& scene, int frame_rate) {
    if (!(scene.duration > 0)) {
        return frames_without_animation;
    }
    // A key's time is a float: it may lie a hair behind the frame that it means.
    constexpr double hair = 1e-3;
    const double frame = std::ceil(static_cast<double>(scene.duration) * frame_rate - hair);
    const int latest = INT32_MAX / (ticks_per_second / frame_rate);
    return static_cast<int>(std::min<double>(frame, latest));
}

}  // namespace

Document::Document() : Document(std::make_shared<const Scene>(), "") {}

Document::Document(std::shared_ptr<const Scene> scene, std::string file_name)
    : m_id(next_id()),
      m_scene(std::move(scene)),
      m_file_name(std::move(file_name)),
      m_settings(m_scene->settings),
      m_nodes(m_scene, m_settings),
      m_elements(m_settings),
      m_animation_range(0, last_frame(*m_scene, m_settings.frame_rate) * ticks_per_frame()) {
    if (m_settings.renderer_class_id != ClassId{0, 0}) {
        m_renderer.emplace(m_settings);
    }
    m_output.SetName(m_settings.output.c_str());
    m_output.SetWidth(static_cast<std::uint16_t>(m_settings.width));
    m_output.SetHeight(static_cast<std::uint16_t>(m_settings.height));
    m_output.SetAspect(m_settings.pixel_aspect);
}

int Document::ticks_per_frame() const {
    return ticks_per_second / m_settings.frame_rate;
}

void Document::set_animation_range(Interval range) {
    if (range.End() < range.Start()) {
        throw std::invalid_argument("the animation range must not end before it starts");
    }
    m_animation_range = range;
}

void Document::set_frame_rate(int frames_per_second) {
    m_settings.frame_rate = checked("the frame rate", frames_per_second, 1, ticks_per_second);
}

void Document::set_width(int pixels) {
    m_settings.width = checked("the render width", pixels, 1, largest_image_side);
    m_output.SetWidth(static_cast<std::uint16_t>(pixels));
}

void Document::set_height(int pixels) {
    m_settings.height = checked("the render height", pixels, 1, largest_image_side);
    m_output.SetHeight(static_cast<std::uint16_t>(pixels));
}

void Document::set_pixel_aspect(float aspect) {
    m_settings.pixel_aspect = checked("the pixel aspect", aspect, 0.01F, 100.0F);
    m_output.SetAspect(aspect);
}

void Document::set_samples(int samples) {
    m_settings.samples = checked("the samples of a pixel", samples, 1, 4096);
}

void Document::change_scene(const std::function<void(Scene&)>& change) {
    if (!m_scene_is_own || m_scene.use_count() > 1) {
        m_scene = std::make_shared<Scene>(*m_scene);
        m_scene_is_own = true;
    }
    // It was made just above, and not as a constant.
    change(const_cast<Scene&>(*m_scene));
    m_nodes.add_new();
}

Imath::M44f Document::node_placement(int node, TimeValue time) const {
    return pose_at(*m_scene, to_seconds(time))[static_cast<std::size_t>(node)];
}

int Document::view_camera() const {
    return m_settings.active_view.empty() ? -1 : m_scene->find_camera(m_settings.active_view);
}

}  // namespace corrivane::host
