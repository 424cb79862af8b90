#pragma once

#include "render/search_trees.h"
#include "scene/scene.h"

#include <functional>
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
    /// `threads` as for SearchTrees. Throws std::runtime_error when the tracer does not start.
    PosedScene(const Scene& scene, int threads);
    PosedScene(const PosedScene&) = delete;
    PosedScene& operator=(const PosedScene&) = delete;

    /// Takes a changed copy of the scene, for the next pose, and keeps the search trees. False where these are no longer
    /// right: when it shows other meshes, or when a material has begun or ceased to be opaque.
    bool go_on_with(const Scene& scene);

    /// Number of meshes that have to be built before the first pose, and one for the pose itself.
    int steps() const { return static_cast<int>(m_scene->meshes.size() - m_built) + 1; }
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
    void place(std::size_t node);
    /// Whether the ray keeps within Embree's limits, in the world and in every shown mesh's own space.
    bool can_trace(const Ray& ray) const;

    const Scene* m_scene;
    SearchTrees m_trees;
    std::size_t m_built = 0;
    double m_reach = 0;  ///< how far from the origin, along each axis, a ray may start
    Pose m_pose;
    std::vector<Imath::M33f> m_normal_matrices;
};

}  // namespace corrivane::host
