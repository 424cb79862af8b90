#include "render/renderer.h"

#include "render/camera_rays.h"
#include "render/pixel.h"
#include "render/posed_scene.h"
#include "render/random.h"
#include "render/shader.h"
#include "render/worker_threads.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cmath>
#include <stdexcept>
#include <string>
#include <thread>

namespace corrivane::host {

namespace {

constexpr int tile_side = 32;
constexpr int largest_side = 32768;

void check_range(const char* field, double value, double low, double high) {
    if (!(value >= low && value <= high)) {
        throw std::invalid_argument(std::string(field) + " must be from " + std::to_string(low) + " to " +
                                    std::to_string(high) + ", not " + std::to_string(value));
    }
}

PixelRect area_of(const RenderRequest& request) {
    return request.region.value_or(PixelRect{0, 0, request.width, request.height});
}

void check(const RenderRequest& request) {
    check_range("width", request.width, 1, largest_side);
    check_range("height", request.height, 1, largest_side);
    check_range("pixel_aspect", request.pixel_aspect, 1e-3, 1e3);
    check_range("samples", request.samples, 1, 4096);
    check_range("seconds", request.seconds, -1e9, 1e9);
    const PixelRect area = area_of(request);
    if (area.left < 0 || area.top < 0 || area.right > request.width || area.bottom > request.height ||
        area.width() < 1 || area.height() < 1) {
        throw std::invalid_argument("region must lie within the image");
    }
}

void check(const FrameBuffers& buffers, const PixelRect& area) {
    const std::size_t expected =
        static_cast<std::size_t>(area.width()) * static_cast<std::size_t>(area.height()) * 4;
    if (buffers.beauty.size() != expected) throw std::invalid_argument("beauty has the wrong size");
    for (const ElementBuffer& element : buffers.elements) {
        if (element.rgba.size() != expected) {
            throw std::invalid_argument(std::string(element_type_name(element.type)) + " has the wrong size");
        }
    }
}

/// Differs from frame to frame and from pass to pass, so that the passes of an effect do not share
/// their noise.
std::uint32_t frame_seed(double seconds, const View& view) {
    const auto bits = std::bit_cast<std::uint64_t>(seconds);
    std::uint32_t seed = hash(static_cast<std::uint32_t>(bits), static_cast<std::uint32_t>(bits >> 32));
    for (int row = 0; row < 4; ++row) {
        for (int column = 0; column < 3; ++column) {
            seed = hash(seed, std::bit_cast<std::uint32_t>(view.camera_to_world[row][column]));
        }
    }
    return seed;
}

/// Renders the pixels of one frame, tile by tile, for whichever threads come to take them.
class Frame {
public:
    Frame(const RenderRequest& request, const CameraRays& rays, const Shader& shader, std::uint32_t seed,
          const FrameBuffers& buffers, RenderProgress* progress)
        : m_request(request),
          m_area(area_of(request)),
          m_rays(rays),
          m_shader(shader),
          m_seed(seed),
          m_buffers(buffers),
          m_progress(progress),
          m_columns((m_area.width() + tile_side - 1) / tile_side),
          m_tiles(m_columns * ((m_area.height() + tile_side - 1) / tile_side)) {}

    int tiles() const { return m_tiles; }
    bool stopped() const { return m_stop.load(std::memory_order_relaxed); }

    /// Every thread calls it once and returns when no tile is left or the render is to stop.
    void render_tiles() {
        for (int tile = m_next++; tile < m_tiles && !stopped(); tile = m_next++) {
            render_tile(tile);
            const int done = ++m_done;
            // The last report is the caller's, so that none of another thread can come after it.
            if (m_progress != nullptr && done < m_tiles && !m_progress->progress(done, m_tiles))
                m_stop = true;
        }
    }

private:
    void render_tile(int tile) {
        const int left = m_area.left + tile % m_columns * tile_side;
        const int top = m_area.top + tile / m_columns * tile_side;
        for (int y = top; y < std::min(top + tile_side, m_area.bottom); ++y) {
            for (int x = left; x < std::min(left + tile_side, m_area.right); ++x)
                render_pixel(x, y);
        }
    }

    void render_pixel(int x, int y) {
        const auto column = static_cast<std::uint32_t>(x);
        const auto row = static_cast<std::uint32_t>(y);
        const std::uint32_t seed = hash(m_seed, row << 16 | column);
        Pixel pixel;
        for (int i = 0; i < m_request.samples; ++i) {
            const auto sample = static_cast<std::uint32_t>(i);
            const Imath::V2f corner(static_cast<float>(x), static_cast<float>(y));
            const Ray ray = m_rays.through(corner + spread_point(seed, sample));
            const RaySample seen = m_shader.look_along(ray, {seed, sample});
            pixel.add(seen, m_rays.depth_of(ray, seen.distance));
        }
        const auto index =
            static_cast<std::size_t>(y - m_area.top) * static_cast<std::size_t>(m_area.width()) +
            static_cast<std::size_t>(x - m_area.left);
        pixel.write(m_buffers, index, m_request.samples);
    }

    const RenderRequest& m_request;
    const PixelRect m_area;
    const CameraRays& m_rays;
    const Shader& m_shader;
    const std::uint32_t m_seed;
    const FrameBuffers& m_buffers;
    RenderProgress* m_progress;
    const int m_columns;
    const int m_tiles;
    std::atomic<int> m_next{0};
    std::atomic<int> m_done{0};
    std::atomic<bool> m_stop{false};
};

int thread_count(const RendererOptions& options) {
    return options.threads > 0 ? options.threads : static_cast<int>(std::thread::hardware_concurrency());
}

}  // namespace

class Renderer::Implementation {
public:
    Implementation(std::shared_ptr<const Scene> scene, RendererOptions options)
        : m_scene(std::move(scene)),
          m_options(options),
          m_posed(std::make_unique<PosedScene>(*m_scene, options.threads)),
          m_threads(thread_count(options)) {
        measure();
    }

    void set_scene(std::shared_ptr<const Scene> scene) {
        if (!m_posed->go_on_with(*scene)) m_posed = std::make_unique<PosedScene>(*scene, m_options.threads);
        m_scene = std::move(scene);
        measure();
    }

    RenderResult render(const RenderRequest& request, const FrameBuffers& buffers, RenderProgress* progress) {
        check(request);
        check(buffers, area_of(request));
        Pose pose = pose_at(*m_scene, request.seconds);
        const View view = view_of(request, pose);
        const CameraRays rays(view, request.width, request.height, request.pixel_aspect);
        if (!prepare(std::move(pose), progress)) return RenderResult::aborted;

        const Shader shader(*m_scene, *m_posed, rays.forward(), request.samples, m_sky_reach);
        Frame frame(request, rays, shader, frame_seed(request.seconds, view), buffers, progress);
        if (progress != nullptr) progress->set_title("Rendering Image");
        m_threads.run([&frame] { frame.render_tiles(); });
        if (frame.stopped()) return RenderResult::aborted;
        const bool go_on = progress == nullptr || progress->progress(frame.tiles(), frame.tiles());
        return go_on ? RenderResult::complete : RenderResult::aborted;
    }

private:
    /// Once for a scene, so that a moving object does not change the light elsewhere.
    void measure() {
        m_bounds = bounds_of(*m_scene, pose_at(*m_scene, 0));
        const float size = m_bounds.isEmpty() ? 0 : m_bounds.size().length();
        m_sky_reach = size > 0 && std::isfinite(size) ? size * 0.1f : 1;
    }

    View view_of(const RenderRequest& request, const Pose& pose) const {
        if (request.view) return *request.view;
        if (request.camera_node >= 0) return camera_view(*m_scene, pose, request.camera_node);
        const float height = static_cast<float>(request.height);
        return framing_view(m_bounds, static_cast<float>(request.width) * request.pixel_aspect / height);
    }

    /// False when the progress said no.
    bool prepare(Pose pose, RenderProgress* progress) {
        if (progress == nullptr) return m_posed->set_pose(std::move(pose), [](int) { return true; });
        progress->set_title("Preparing Objects");
        const int steps = m_posed->steps();
        return progress->progress(0, 0) && m_posed->set_pose(std::move(pose), [&](int done) {
            return progress->progress(done, steps);
        }) && progress->progress(steps, steps);
    }

    std::shared_ptr<const Scene> m_scene;
    const RendererOptions m_options;
    std::unique_ptr<PosedScene> m_posed;
    WorkerThreads m_threads;
    Imath::Box3f m_bounds;  ///< at time 0
    float m_sky_reach = 1;
};

Renderer::Renderer(std::shared_ptr<const Scene> scene, RendererOptions options)
    : m_implementation(std::make_unique<Implementation>(std::move(scene), options)) {}

Renderer::~Renderer() = default;

void Renderer::set_scene(std::shared_ptr<const Scene> scene) {
    m_implementation->set_scene(std::move(scene));
}

RenderResult Renderer::render(const RenderRequest& request, const FrameBuffers& buffers,
                              RenderProgress* progress) {
    return m_implementation->render(request, buffers, progress);
}

}  // namespace corrivane::host
