#include "core/render_session.h"

#include "bitmap/float_bitmap.h"
#include "core/units.h"
#include "core/view_params.h"

#include <max/core_interface.h>

#include <exception>
#include <mutex>
#include <span>
#include <stdexcept>
#include <string>

namespace corrivane::host {

namespace {

RenderSession::Setup checked(RenderSession::Setup setup) {
    if (setup.render_type != RENDTYPE_NORMAL && setup.render_type != RENDTYPE_REGION) {
        throw std::invalid_argument("render type " + std::to_string(setup.render_type) + " is not known");
    }
    for (const int side : {setup.width, setup.height}) {
        if (side < 1 || side > largest_image_side) {
            throw std::invalid_argument("an image of " + std::to_string(setup.width) + "x" +
                                        std::to_string(setup.height) + " pixels cannot be rendered");
        }
    }
    return setup;
}

/// Hands the renderer's progress on to the plug-in's callback. The renderer's threads must not see an
/// exception, so one stops the render and is kept.
class ProgressAdapter final : public RenderProgress {
public:
    explicit ProgressAdapter(RendProgressCallback& callback) : m_callback(callback) {}

    void set_title(const char* title) override {
        call([&] { m_callback.SetTitle(title); });
    }

    bool progress(int done, int total) override {
        int answer = 0;
        call([&] { answer = m_callback.Progress(done, total); });
        return answer != 0;
    }

    void rethrow_failure() const {
        if (m_failure) {
            std::rethrow_exception(m_failure);
        }
    }

private:
    template <typename Call>
    void call(Call call) {
        try {
            call();
        } catch (...) {
            const std::lock_guard lock(m_mutex);
            m_failure = std::current_exception();
        }
    }

    RendProgressCallback& m_callback;
    std::mutex m_mutex;
    std::exception_ptr m_failure;
};

std::span<float> pixels_of(Bitmap* bitmap, const PixelRect& region, const char* what) {
    auto* floats = dynamic_cast<FloatBitmap*>(bitmap);
    if (floats == nullptr) {
        throw std::invalid_argument(std::string(what) + " is not an image with storage");
    }
    if (floats->Width() != region.width() || floats->Height() != region.height()) {
        throw std::invalid_argument(std::string(what) + " has " + std::to_string(floats->Width()) + "x" +
                                    std::to_string(floats->Height()) + " pixels, but " +
                                    std::to_string(region.width()) + "x" + std::to_string(region.height()) +
                                    " are rendered");
    }
    static_assert(sizeof(BMM_Color_fl) == 4 * sizeof(float));
    const std::size_t count =
        static_cast<std::size_t>(region.width()) * static_cast<std::size_t>(region.height());
    return {&floats->pixels()->r, count * 4};
}

FrameBuffers buffers_for(Bitmap* bitmap, const RenderElements& elements, const PixelRect& region) {
    FrameBuffers buffers;
    buffers.beauty = pixels_of(bitmap, region, "the frame's bitmap");
    if (!elements.GetElementsActive()) {
        return buffers;
    }
    for (const auto& element : elements.all()) {
        if (element->bitmap() != nullptr && element->is_enabled()) {
            buffers.elements.push_back(
                {element->type(), pixels_of(element->bitmap(), region, "a render element's bitmap")});
        }
    }
    return buffers;
}

}  // namespace

RenderSession::RenderSession(Setup setup)
    : m_setup(checked(std::move(setup))), m_renderer(m_setup.scene, {.threads = m_setup.threads}) {}

void RenderSession::set_scene(const std::shared_ptr<const Scene>& scene) {
    if (scene == m_setup.scene) return;
    m_renderer.set_scene(scene);
    m_setup.scene = scene;
}

bool RenderSession::render(const Frame& frame, const RenderElements& elements) {
    const PixelRect region = checked_region(frame.region);
    const FrameBuffers buffers = buffers_for(frame.bitmap, elements, region);
    const RenderRequest request = request_for(frame, region);
    if (frame.progress == nullptr) {
        return m_renderer.render(request, buffers) == RenderResult::complete;
    }
    ProgressAdapter progress(*frame.progress);
    const RenderResult result = m_renderer.render(request, buffers, &progress);
    progress.rethrow_failure();
    return result == RenderResult::complete;
}

PixelRect RenderSession::checked_region(const RECT* region) const {
    if ((region != nullptr) != (m_setup.render_type == RENDTYPE_REGION)) {
        throw std::invalid_argument(region != nullptr
                                        ? "a region is given, but the renderer was opened for whole images"
                                        : "the renderer was opened for regions, but none is given");
    }
    if (region == nullptr) {
        return {0, 0, m_setup.width, m_setup.height};
    }
    const PixelRect pixels{region->left, region->top, region->right, region->bottom};
    if (pixels.left < 0 || pixels.top < 0 || pixels.right > m_setup.width || pixels.bottom > m_setup.height ||
        pixels.left >= pixels.right || pixels.top >= pixels.bottom) {
        throw std::invalid_argument("the region is empty or leaves the image");
    }
    return pixels;
}

RenderRequest RenderSession::request_for(const Frame& frame, const PixelRect& region) const {
    RenderRequest request;
    request.seconds = to_seconds(frame.time);
    request.camera_node = m_setup.camera_node;
    request.width = m_setup.width;
    request.height = m_setup.height;
    request.pixel_aspect = m_setup.pixel_aspect;
    request.samples = m_setup.samples;
    if (frame.region != nullptr) {
        request.region = region;
    }
    if (frame.view != nullptr) {
        Projection lens;
        if (m_setup.camera_node >= 0) {
            const int camera = m_setup.scene->nodes[static_cast<std::size_t>(m_setup.camera_node)].camera;
            lens = m_setup.scene->cameras[static_cast<std::size_t>(camera)].projection;
        }
        const float aspect =
            static_cast<float>(m_setup.width) * m_setup.pixel_aspect / static_cast<float>(m_setup.height);
        request.view = to_view(*frame.view, lens, aspect);
    }
    return request;
}

}  // namespace corrivane::host
