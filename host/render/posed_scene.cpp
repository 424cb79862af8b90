#include "render/posed_scene.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace corrivane::host {

namespace {

Imath::M33f linear_part(const Imath::M44f& m) {
    return {m[0][0], m[0][1], m[0][2], m[1][0], m[1][1], m[1][2], m[2][0], m[2][1], m[2][2]};
}

/// What Embree computes with, it takes to be below 1.8e18, and ends the process where a ray is not.
constexpr double embree_limit = 1e18;
/// An instance that takes rays of less than this beyond Embree's limit is too thin to be seen.
constexpr double least_reach = 1e9;

/// The largest sum of a column's magnitudes: how far a vector's parts may grow by the matrix.
double growth(const Imath::M33d& m) {
    double largest = 0;
    for (int column = 0; column < 3; ++column) {
        largest = std::max(largest, std::abs(m[0][column]) + std::abs(m[1][column]) + std::abs(m[2][column]));
    }
    return largest;
}

/// False of NaN too.
bool is_shown(float x, float y, float z) {
    return std::abs(x) <= farthest_shown && std::abs(y) <= farthest_shown && std::abs(z) <= farthest_shown;
}

bool is_shown(const Imath::M44f& m) {
    return is_shown(m[0][0], m[0][1], m[0][2]) && is_shown(m[1][0], m[1][1], m[1][2]) &&
           is_shown(m[2][0], m[2][1], m[2][2]) && is_shown(m[3][0], m[3][1], m[3][2]);
}

/// Whether the matrix can be inverted without leaving the range of float.
bool is_solid(const Imath::M44f& matrix) {
    const float volume = std::abs(linear_part(matrix).determinant());
    return is_shown(matrix) && volume > 1e-24f && volume < 1e24f;
}

/// How far from the origin a ray may start, so that the same ray in the mesh's own space keeps within Embree's
/// limit. The matrix is solid.
double reach_of(const Imath::M44f& matrix) {
    const Imath::M33f linear = linear_part(matrix);
    const Imath::M33d inverse =
        Imath::M33d(linear[0][0], linear[0][1], linear[0][2], linear[1][0], linear[1][1], linear[1][2],
                    linear[2][0], linear[2][1], linear[2][2])
            .inverse();
    const double place = std::max({std::abs(matrix[3][0]), std::abs(matrix[3][1]), std::abs(matrix[3][2])});
    return embree_limit / growth(inverse) - place;
}

/// The box around a mesh with that matrix, in the world, lies where things are shown.
bool is_shown(const Imath::Box3f& box, const Imath::M44f& m) {
    if (!(box.min.x <= box.max.x)) return true;  // of nothing
    for (int column = 0; column < 3; ++column) {
        double farthest = std::abs(double(m[3][column]));
        for (int axis = 0; axis < 3; ++axis) {
            farthest += std::max(std::abs(box.min[axis]), std::abs(box.max[axis])) *
                        std::abs(double(m[axis][column]));
        }
        if (!(farthest <= farthest_shown)) return false;
    }
    return true;
}

/// The search trees leave out the triangles of a vertex that is not finite.
std::vector<Imath::V3f> shown_positions(std::vector<Imath::V3f> positions) {
    for (Imath::V3f& p : positions) {
        if (!is_shown(p.x, p.y, p.z)) p = Imath::V3f(std::numeric_limits<float>::infinity());
    }
    return positions;
}

}  // namespace

PosedScene::PosedScene(const Scene& scene, int threads) : m_scene(&scene), m_trees(scene, threads) {}

bool PosedScene::go_on_with(const Scene& scene) {
    const bool alike =
        scene.meshes.is_same_as(m_scene->meshes) &&
        std::ranges::equal(scene.materials, m_scene->materials, {}, &Material::alpha_mode,
                           &Material::alpha_mode) &&
        std::ranges::equal(scene.nodes, m_scene->nodes, {}, &SceneNode::mesh, &SceneNode::mesh);
    if (!alike) return false;
    m_trees.set_scene(scene);
    m_scene = &scene;
    return true;
}

bool PosedScene::set_pose(Pose pose, const std::function<bool(int done)>& step_done) {
    for (int done = 1; m_built < m_scene->meshes.size(); ++done) {
        m_trees.build_mesh(m_built, shown_positions);
        ++m_built;
        if (!step_done(done)) return false;
    }
    m_trees.add_nodes();
    m_pose = std::move(pose);
    m_normal_matrices.resize(m_pose.size());
    m_reach = embree_limit;
    for (std::size_t node = 0; node < m_pose.size(); ++node) {
        if (m_scene->nodes[node].mesh >= 0) place(node);
    }
    m_trees.commit();
    return true;
}

void PosedScene::place(std::size_t node) {
    const double reach = is_solid(m_pose[node]) ? reach_of(m_pose[node]) : 0;
    const Imath::Box3f box = m_trees.bounds(static_cast<std::size_t>(m_scene->nodes[node].mesh));
    if (!m_scene->nodes[node].shown || !(reach >= least_reach) || !is_shown(box, m_pose[node])) {
        m_trees.hide(node);
        return;
    }
    m_reach = std::min(m_reach, reach);
    m_normal_matrices[node] = linear_part(m_pose[node]).inverse().transposed();
    m_trees.place(node, m_pose[node]);
}

bool PosedScene::can_trace(const Ray& ray) const {
    const auto reach = static_cast<float>(m_reach);
    const float length2 = ray.direction.length2();
    return std::abs(ray.origin.x) <= reach && std::abs(ray.origin.y) <= reach &&
           std::abs(ray.origin.z) <= reach && length2 > 0.25f && length2 < 4 && ray.near >= 0 &&
           !std::isnan(ray.far);
}

bool PosedScene::intersect(const Ray& ray, Hit& hit) const {
    return can_trace(ray) && m_trees.intersect(ray, hit);
}

float PosedScene::visibility(const Ray& ray) const {
    return can_trace(ray) ? m_trees.visibility(ray) : 1;
}

}  // namespace corrivane::host
