#pragma once

#include "render/ray.h"
#include "scene/scene.h"

#include <ImathBox.h>

#include <memory>

namespace corrivane::host {

/// What rays are traced with: a search tree for each mesh, and over them one for the nodes that show them. There are
/// two implementations, of which the build chooses one: embree/, and plain/ for where there is no Embree.
class SearchTrees {
public:
    /// `threads` build the trees; 0: as many as there are processors. Throws std::runtime_error when the tracer does
    /// not start. The scene must stay.
    SearchTrees(const Scene& scene, int threads);
    ~SearchTrees();
    SearchTrees(const SearchTrees&) = delete;
    SearchTrees& operator=(const SearchTrees&) = delete;

    /// Goes on with a changed copy of the scene; see PosedScene::go_on_with.
    void set_scene(const Scene& scene) { m_scene = &scene; }

    using Positions = std::vector<Imath::V3f>;

    /// Builds one mesh's tree, with its primitives' positions as `shown` gives them; triangles with one that is not
    /// finite are left out. Throws std::runtime_error when memory runs out, as commit does.
    void build_mesh(std::size_t mesh, Positions (*shown)(Positions));
    /// The box around a mesh that is built; empty around nothing.
    Imath::Box3f bounds(std::size_t mesh) const;

    /// To be called before nodes are placed, when all meshes are built; again is no harm.
    void add_nodes();
    void place(std::size_t node, const Imath::M44f& matrix);
    void hide(std::size_t node);
    /// Lets what was placed take effect.
    void commit();

    /// As PosedScene's, for rays within the tracer's range of numbers.
    bool intersect(const Ray& ray, Hit& hit) const;
    float visibility(const Ray& ray) const;

private:
    struct Trees;
    const Scene* m_scene;
    std::unique_ptr<Trees> m_trees;
};

}  // namespace corrivane::host
