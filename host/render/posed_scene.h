#pragma once

#include "render/ray.h"
#include "scene/scene.h"

#include <embree3/rtcore.h>

#include <functional>
#include <memory>
#include <vector>

namespace corrivane::host {

/// The scene as the ray tracer sees it: a search tree for each mesh, built once, and over them one for the
/// nodes that show them, built anew for each pose. Nodes whose matrix flattens or explodes their mesh are
/// not shown, nor is what lies beyond farthest_shown.
///
/// Embree ends the process where a ray or a matrix leaves its own range of numbers. What comes through here never
/// does, whatever the scene holds: a ray that cannot be traced meets nothing.
class PosedScene {
public:
    /// `threads` as for rtcNewDevice; 0: all. Throws std::runtime_error when Embree does not start.
    PosedScene(const Scene& scene, int threads);
    ~PosedScene();
    PosedScene(const PosedScene&) = delete;
    PosedScene& operator=(const PosedScene&) = delete;

    /// Number of meshes that have to be built before the first pose, and one for the pose itself.
    int steps() const { return static_cast<int>(m_meshes.size() - m_built) + 1; }
    /// Builds what is not built yet and places everything. `step_done` is called after each step but the
    /// last, and returns whether to go on; false when it said no. Throws std::runtime_error when memory
    /// runs out.
    bool set_pose(Pose pose, const std::function<bool(int done)>& step_done);

    const Pose& pose() const { return m_pose; }
    /// Inverse transposes of the pose: what turns a node's normals (row vector * matrix) into the world's.
    const Imath::M33f& normal_matrix(int node) const {
        return m_normal_matrices[static_cast<std::size_t>(node)];
    }

    /// The nearest hit between ray.near and ray.far. Any number of threads may trace at once.
    bool intersect(const Ray& ray, Hit& hit) const;
    /// The share of light that comes through between ray.near and ray.far: 1 when nothing is there, 0 behind
    /// something opaque.
    float visibility(const Ray& ray) const;

private:
    struct DeviceRelease {
        void operator()(RTCDevice device) const { rtcReleaseDevice(device); }
    };
    struct SceneRelease {
        void operator()(RTCScene scene) const { rtcReleaseScene(scene); }
    };
    using ScenePointer = std::unique_ptr<RTCSceneTy, SceneRelease>;

    void build_mesh(std::size_t index);
    void add_geometry(const Primitive& primitive, unsigned id, RTCScene mesh);
    void add_instances();
    void place(std::size_t node);
    void check_device() const;
    /// Whether the ray keeps within Embree's limits, in the world and in every shown mesh's own space.
    bool can_trace(const Ray& ray) const;

    const Scene& m_scene;
    std::unique_ptr<RTCDeviceTy, DeviceRelease> m_device;
    std::vector<ScenePointer> m_meshes;
    ScenePointer m_top;
    std::size_t m_built = 0;
    bool m_instanced = false;
    double m_reach = 0;  ///< how far from the origin, along each axis, a ray may start
    Pose m_pose;
    std::vector<Imath::M33f> m_normal_matrices;
};

}  // namespace corrivane::host
