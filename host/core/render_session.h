#pragma once

#include "core/render_elements.h"
#include "render/renderer.h"

#include <max/renderer.h>
#include <max/types.h>
#include <windows.h>

#include <memory>
#include <vector>

namespace corrivane::host {

/// The current renderer while it is open. Keeps its search trees from frame to frame.
class RenderSession {
public:
    struct Setup {
        std::shared_ptr<const Scene> scene;
        int camera_node = -1;  ///< index of a camera node, -1 for the view that frames the scene
        int render_type = 0;   ///< RENDTYPE_NORMAL or RENDTYPE_REGION
        int width = 0;         ///< of the whole image
        int height = 0;
        float pixel_aspect = 1;
        int samples = 1;
        int threads = 0;  ///< that render; 0: one for each processor
    };

    /// Throws std::invalid_argument for another render type or a size outside 1 to 32768, std::runtime_error
    /// when the ray tracer does not start.
    explicit RenderSession(Setup setup);

    struct Frame {
        TimeValue time = 0;
        Bitmap* bitmap = nullptr;
        RendProgressCallback* progress = nullptr;  ///< may be null
        const ViewParams* view = nullptr;          ///< null: as opened
        const RECT* region = nullptr;  ///< pixels of the whole image; given exactly for RENDTYPE_REGION
    };

    /// The scene as later frames show it: the one of the setup, or a changed copy.
    void set_scene(const std::shared_ptr<const Scene>& scene);

    /// Renders a frame, and those of the elements, if they are active, that have a bitmap. False when the
    /// callback stopped it. What the callback throws, on whatever thread, stops the render and comes out
    /// here. Throws std::invalid_argument, before anything is rendered, when region and render type do not
    /// belong together, the region leaves the image, or a bitmap is not of the size that is rendered.
    bool render(const Frame& frame, const RenderElements& elements);

private:
    PixelRect checked_region(const RECT* region) const;
    RenderRequest request_for(const Frame& frame, const PixelRect& region) const;

    Setup m_setup;
    Renderer m_renderer;
};

}  // namespace corrivane::host
