#pragma once

#include "render/renderer.h"

#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace corrivane::host::test {

/// Puts a scene together in memory. Its camera stands at (0, 0, 10) and looks at the origin with a field of
/// view that is 10 high there.
class RenderScene {
public:
    RenderScene();

    /// A square from -side/2 to side/2, facing +z, at that place. Returns the node's index.
    int add_square(float side, const Imath::V3f& place, const Material& material);
    int add_light(const Light& light, const Imath::V3f& place);

    std::shared_ptr<const Scene> share() const { return std::make_shared<const Scene>(scene); }

    Scene scene;
    int camera = 0;
};

/// A material that shows its colour as it is.
Material flat_color(float red, float green, float blue, float alpha = 1);

/// A rendered image.
struct Image {
    int width = 0;
    int height = 0;
    std::vector<float> rgba;

    std::vector<float> at(int x, int y) const;
    bool operator==(const Image&) const = default;
};

/// What a render with these elements gives: the beauty first, then the elements in their order.
std::vector<Image> render(Renderer& renderer, const RenderRequest& request,
                          const std::vector<ElementType>& elements = {});

/// Remembers what a render says, and may stop it.
class ProgressLog : public RenderProgress {
public:
    /// The index of the report that is answered with false; -1: none.
    explicit ProgressLog(int stop_at = -1) : m_stop_at(stop_at) {}

    void set_title(const char* title) override;
    bool progress(int done, int total) override;

    /// Title and reports of each phase.
    struct Phase {
        std::string title;
        std::vector<std::pair<int, int>> reports;
    };
    std::vector<Phase> phases() const;

private:
    const int m_stop_at;
    mutable std::mutex m_mutex;
    int m_reports = 0;
    std::vector<Phase> m_phases;
};

}  // namespace corrivane::host::test
