#include "render/search_trees.h"

#include "render/surface.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numeric>
#include <optional>

// Boxes in boxes down to a few triangles, in double precision: small and right, and a fraction of Embree's speed.
namespace corrivane::host {

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

struct Line {
    Imath::V3d origin;
    Imath::V3d direction;
};

struct Range {
    double near;
    double far;
};

struct Triangle {
    std::array<Imath::V3d, 3> corners;
    int primitive;
    int number;  ///< in the primitive

    Imath::Box3d box() const {
        Imath::Box3d box;
        for (const Imath::V3d& corner : corners)
            box.extendBy(corner);
        return box;
    }
};

struct TriangleHit {
    double distance;
    double u, v;
    const Triangle* triangle;
};

std::optional<TriangleHit> meet(const Line& line, const Range& range, const Triangle& triangle) {
    const Imath::V3d to_second = triangle.corners[1] - triangle.corners[0];
    const Imath::V3d to_third = triangle.corners[2] - triangle.corners[0];
    const Imath::V3d across = line.direction.cross(to_third);
    const double determinant = to_second.dot(across);
    if (determinant == 0) return std::nullopt;
    const Imath::V3d from_first = line.origin - triangle.corners[0];
    const double u = from_first.dot(across) / determinant;
    const Imath::V3d up = from_first.cross(to_second);
    const double v = line.direction.dot(up) / determinant;
    if (!(u >= 0 && v >= 0 && u + v <= 1)) return std::nullopt;
    const double distance = to_third.dot(up) / determinant;
    if (!(distance >= range.near && distance <= range.far)) return std::nullopt;
    return TriangleHit{distance, u, v, &triangle};
}

bool meets(const Line& line, Range range, const Imath::Box3d& box) {
    for (int axis = 0; axis < 3; ++axis) {
        double first = (box.min[axis] - line.origin[axis]) / line.direction[axis];
        double second = (box.max[axis] - line.origin[axis]) / line.direction[axis];
        if (first > second) std::swap(first, second);
        // What is not a number, along the box's own face, narrows nothing.
        if (first > range.near) range.near = first;
        if (second < range.far) range.far = second;
    }
    return range.near <= range.far;
}

/// A mesh's triangles, in the order of its tree's leaves.
class MeshTree {
public:
    explicit MeshTree(std::vector<Triangle> triangles) : m_triangles(std::move(triangles)) {
        if (!m_triangles.empty()) build(0, m_triangles.size());
    }

    Imath::Box3d box() const { return m_branches.empty() ? Imath::Box3d() : m_branches.front().box; }

    /// Calls `visit` for what the line meets within the range, which `visit` may narrow, in no order.
    template <typename Visit>
    void trace(const Line& line, Range& range, Visit visit) const {
        for (std::size_t branch = 0; branch < m_branches.size();) {
            const Branch& here = m_branches[branch];
            if (!meets(line, range, here.box)) {
                branch = here.next;
                continue;
            }
            for (std::size_t i = here.begin; i < here.end; ++i)
                if (const auto hit = meet(line, range, m_triangles[i])) visit(*hit);
            ++branch;
        }
    }

private:
    struct Branch {
        Imath::Box3d box;
        std::size_t next;        ///< the branch behind all that this one holds
        std::size_t begin, end;  ///< triangles; none where branches follow
    };

    void build(std::size_t begin, std::size_t end) {
        constexpr std::size_t few = 4;
        const std::size_t index = m_branches.size();
        Imath::Box3d box;
        for (std::size_t i = begin; i < end; ++i)
            box.extendBy(m_triangles[i].box());
        const bool is_leaf = end - begin <= few;
        m_branches.push_back({box, 0, begin, is_leaf ? end : begin});
        if (!is_leaf) {
            const std::size_t middle = begin + (end - begin) / 2;
            const unsigned axis = box.majorAxis();
            std::nth_element(
                m_triangles.begin() + std::ptrdiff_t(begin), m_triangles.begin() + std::ptrdiff_t(middle),
                m_triangles.begin() + std::ptrdiff_t(end), [axis](const Triangle& a, const Triangle& b) {
                    return a.box().center()[axis] < b.box().center()[axis];
                });
            build(begin, middle);
            build(middle, end);
        }
        m_branches[index].next = m_branches.size();
    }

    std::vector<Triangle> m_triangles;
    std::vector<Branch> m_branches;
};

/// A mesh at a node's place.
struct Instance {
    std::size_t node;
    std::size_t mesh;
    Imath::M44d to_mesh;
};

Line line_in_mesh(const Ray& ray, const Instance& instance) {
    Line line;
    instance.to_mesh.multVecMatrix(Imath::V3d(ray.origin), line.origin);
    instance.to_mesh.multDirMatrix(Imath::V3d(ray.direction), line.direction);
    return line;
}

bool is_finite(const Imath::V3f& point) {
    return std::isfinite(point.x) && std::isfinite(point.y) && std::isfinite(point.z);
}

}  // namespace

struct SearchTrees::Trees {
    std::vector<MeshTree> meshes;
    std::vector<Instance> instances;
};

SearchTrees::SearchTrees(const Scene& scene, int /*threads*/)
    : m_scene(&scene), m_trees(std::make_unique<Trees>()) {}

SearchTrees::~SearchTrees() = default;

void SearchTrees::build_mesh(std::size_t index, Positions (*shown)(Positions)) {
    std::vector<Triangle> triangles;
    const std::vector<Primitive>& primitives = m_scene->meshes[index].primitives;
    for (std::size_t i = 0; i < primitives.size(); ++i) {
        const Positions positions = shown(primitives[i].positions);
        for (std::size_t number = 0; number < primitives[i].triangles.size(); ++number) {
            Triangle triangle{{}, static_cast<int>(i), static_cast<int>(number)};
            bool all_finite = true;
            for (std::size_t corner = 0; corner < 3; ++corner) {
                const Imath::V3f& position = positions[primitives[i].triangles[number][corner]];
                all_finite = all_finite && is_finite(position);
                triangle.corners[corner] = Imath::V3d(position);
            }
            if (all_finite) triangles.push_back(triangle);
        }
    }
    m_trees->meshes.emplace_back(std::move(triangles));
}

Imath::Box3f SearchTrees::bounds(std::size_t mesh) const {
    const Imath::Box3d box = m_trees->meshes[mesh].box();
    return box.isEmpty() ? Imath::Box3f() : Imath::Box3f(Imath::V3f(box.min), Imath::V3f(box.max));
}

void SearchTrees::add_nodes() {
    m_trees->instances.clear();
}

void SearchTrees::hide(std::size_t /*node*/) {}

void SearchTrees::place(std::size_t node, const Imath::M44f& matrix) {
    m_trees->instances.push_back(
        {node, static_cast<std::size_t>(m_scene->nodes[node].mesh), Imath::M44d(matrix).inverse()});
}

void SearchTrees::commit() {}

bool SearchTrees::intersect(const Ray& ray, Hit& hit) const {
    Range range{ray.near, ray.far};
    bool found = false;
    for (const Instance& instance : m_trees->instances) {
        m_trees->meshes[instance.mesh].trace(
            line_in_mesh(ray, instance), range, [&](const TriangleHit& nearer) {
                found = true;
                range.far = nearer.distance;
                hit = {static_cast<float>(nearer.distance),
                       static_cast<int>(instance.node),
                       nearer.triangle->primitive,
                       {nearer.triangle->number, static_cast<float>(nearer.u), static_cast<float>(nearer.v)}};
            });
    }
    return found;
}

float SearchTrees::visibility(const Ray& ray) const {
    Range range{ray.near, ray.far};
    float visible = 1;
    for (const Instance& instance : m_trees->instances) {
        const Mesh& mesh = m_scene->meshes[instance.mesh];
        m_trees->meshes[instance.mesh].trace(line_in_mesh(ray, instance), range, [&](const TriangleHit& hit) {
            const Primitive& primitive = mesh.primitives[static_cast<std::size_t>(hit.triangle->primitive)];
            const bool is_opaque =
                m_scene->materials[static_cast<std::size_t>(primitive.material)].alpha_mode ==
                AlphaMode::opaque;
            visible *= is_opaque ? 0
                                 : 1 - opacity_at(*m_scene, primitive,
                                                  {hit.triangle->number, static_cast<float>(hit.u),
                                                   static_cast<float>(hit.v)});
            if (visible <= 1e-3f) {
                visible = 0;
                range.far = -infinity;  // nothing more to be found
            }
        });
        if (visible == 0) break;
    }
    return visible;
}

}  // namespace corrivane::host
