#pragma once

#include "render/view.h"
#include "scene/scene.h"

#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace corrivane::host {

/// Told how a render gets on. set_title() is called on the thread that called render(); progress() is called
/// from all rendering threads, several at once, and must not throw.
class RenderProgress {
public:
    virtual ~RenderProgress() = default;

    /// "Preparing Objects", then "Rendering Image".
    virtual void set_title(const char* title) = 0;

    /// `done` of `total` steps of the titled phase are finished; total 0: cannot tell yet. done == total
    /// comes once in a phase, as its last report, on the thread that called render(). False stops the render
    /// within a tile.
    virtual bool progress(int done, int total) = 0;
};

/// A rectangle of the full image, in pixels from its top left corner; right and bottom are exclusive.
struct PixelRect {
    int left = 0;
    int top = 0;
    int right = 0;
    int bottom = 0;

    int width() const { return right - left; }
    int height() const { return bottom - top; }
    bool operator==(const PixelRect&) const = default;
};

struct RenderRequest {
    double seconds = 0;
    /// Index of a node that has a camera; its place at `seconds` is used. -1: framing_view().
    int camera_node = -1;
    /// In place of camera_node: the view of one pass of a multi-pass effect, for example.
    std::optional<View> view;
    int width = 640;   ///< of the full image, 1 to 32768
    int height = 480;  ///< of the full image, 1 to 32768
    float pixel_aspect = 1;
    int samples = 4;  ///< a pixel, 1 to 4096
    /// Render only this part, which must lie within the full image. Its pixels are those of the full image,
    /// bit by bit.
    std::optional<PixelRect> region;
};

/// Where one image goes: four floats (RGBA) a pixel, rows from the top, without gaps; the caller's, of the
/// region's (else the full image's) size.
struct ElementBuffer {
    ElementType type = ElementType::depth;
    std::span<float> rgba;
};

/// What a frame writes. A pixel that sees nothing is 0 in all four channels, everywhere. Alpha is always the
/// coverage. Colour is not divided by alpha: a half-covered pixel of a white object is linear 0.5 before
/// encoding.
///  - beauty: sRGB-encoded for display; highlights exceed 1.
///  - albedo: base colour, sRGB-encoded.
///  - normal: in world space, 0.5 + 0.5 n in each channel.
///  - depth: distance from the camera plane to the pixel's nearest surface, in scene units, in R, G and B.
///  - alpha: coverage in R, G and B.
///  - ambientOcclusion: 1 open, 0 enclosed, in R, G and B.
struct FrameBuffers {
    std::span<float> beauty;
    std::vector<ElementBuffer> elements;
};

enum class RenderResult { complete, aborted };

struct RendererOptions {
    int threads = 0;  ///< 0: one for each of the machine's processors
};

/// Ray-traces frames of one scene.
///
/// Lifecycle: construct (starts the threads, cheap); render() any number of frames, one at a time; destroy.
/// The first frame builds the search trees of the meshes, later frames only place them anew. The same scene
/// and request give the same pixels, whatever the number of threads, the order of work or the region.
class Renderer {
public:
    /// Throws std::runtime_error when the ray tracer cannot start.
    explicit Renderer(std::shared_ptr<const Scene> scene, RendererOptions options = {});
    ~Renderer();

    /// Renders a changed copy of the scene from the next frame on. What it shares with the one before keeps its
    /// search trees.
    void set_scene(std::shared_ptr<const Scene> scene);

    /// Renders one frame on all threads and returns when they have finished. An aborted frame leaves the
    /// buffers partly written, the Renderer ready for the next. Throws std::invalid_argument, which names the
    /// field, when the request or a buffer's size is wrong, and std::runtime_error when memory for the search
    /// trees runs out. `progress` may be null.
    RenderResult render(const RenderRequest& request, const FrameBuffers& buffers,
                        RenderProgress* progress = nullptr);

private:
    class Implementation;
    std::unique_ptr<Implementation> m_implementation;
};

}  // namespace corrivane::host
