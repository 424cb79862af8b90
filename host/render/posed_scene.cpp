#include "render/posed_scene.h"

#include "render/surface.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>
#include <type_traits>

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
bool is_shown(const RTCBounds& box, const Imath::M44f& m) {
    if (!(box.lower_x <= box.upper_x)) return true;  // of nothing
    for (int column = 0; column < 3; ++column) {
        const double farthest =
            std::max(std::abs(box.lower_x), std::abs(box.upper_x)) * std::abs(double(m[0][column])) +
            std::max(std::abs(box.lower_y), std::abs(box.upper_y)) * std::abs(double(m[1][column])) +
            std::max(std::abs(box.lower_z), std::abs(box.upper_z)) * std::abs(double(m[2][column])) +
            std::abs(double(m[3][column]));
        if (!(farthest <= farthest_shown)) return false;
    }
    return true;
}

/// Embree leaves out the triangles of a vertex that is not finite.
std::vector<Imath::V3f> shown_positions(std::vector<Imath::V3f> positions) {
    for (Imath::V3f& p : positions) {
        if (!is_shown(p.x, p.y, p.z)) p = Imath::V3f(std::numeric_limits<float>::infinity());
    }
    return positions;
}

/// What a shadow ray carries along; Embree hands the context, its first member, to the filter.
struct ShadowQuery {
    RTCIntersectContext context;
    const Scene& scene;
    float visible;
};

/// Called for each surface that is not opaque and in a shadow ray's way: takes away its share of the light
/// and lets the ray go on, unless next to nothing is left.
void pass_through(const RTCFilterFunctionNArguments* arguments) {
    auto& query = *reinterpret_cast<ShadowQuery*>(arguments->context);
    const auto& primitive = *static_cast<const Primitive*>(arguments->geometryUserPtr);
    const RTCHit hit = rtcGetHitFromHitN(arguments->hit, arguments->N, 0);
    query.visible *= 1 - opacity_at(query.scene, primitive, {static_cast<int>(hit.primID), hit.u, hit.v});
    if (query.visible > 1e-3f) arguments->valid[0] = 0;
}

RTCRay to_embree(const Ray& ray) {
    RTCRay result{};
    result.org_x = ray.origin.x;
    result.org_y = ray.origin.y;
    result.org_z = ray.origin.z;
    result.dir_x = ray.direction.x;
    result.dir_y = ray.direction.y;
    result.dir_z = ray.direction.z;
    result.tnear = ray.near;
    result.tfar = ray.far;
    result.mask = ~0u;
    return result;
}

}  // namespace

PosedScene::PosedScene(const Scene& scene, int threads) : m_scene(scene) {
    const std::string config = threads > 0 ? "threads=" + std::to_string(threads) : std::string();
    m_device.reset(rtcNewDevice(config.c_str()));
    if (!m_device) throw std::runtime_error("the ray tracer does not start");
    m_meshes.resize(scene.meshes.size());
    m_top.reset(rtcNewScene(m_device.get()));
    rtcSetSceneFlags(m_top.get(), RTC_SCENE_FLAG_ROBUST);
    rtcSetSceneBuildQuality(m_top.get(), RTC_BUILD_QUALITY_MEDIUM);
}

PosedScene::~PosedScene() = default;

void PosedScene::check_device() const {
    if (rtcGetDeviceError(m_device.get()) != RTC_ERROR_NONE) {
        throw std::runtime_error("the ray tracer cannot build its search trees");
    }
}

bool PosedScene::set_pose(Pose pose, const std::function<bool(int done)>& step_done) {
    for (int done = 1; m_built < m_meshes.size(); ++done) {
        build_mesh(m_built);
        ++m_built;
        if (!step_done(done)) return false;
    }
    if (!m_instanced) add_instances();
    m_pose = std::move(pose);
    m_normal_matrices.resize(m_pose.size());
    m_reach = embree_limit;
    for (std::size_t node = 0; node < m_pose.size(); ++node) {
        if (m_scene.nodes[node].mesh >= 0) place(node);
    }
    rtcCommitScene(m_top.get());
    check_device();
    return true;
}

void PosedScene::build_mesh(std::size_t index) {
    m_meshes[index].reset(rtcNewScene(m_device.get()));
    RTCScene mesh = m_meshes[index].get();
    rtcSetSceneFlags(mesh, RTC_SCENE_FLAG_ROBUST);
    const std::vector<Primitive>& primitives = m_scene.meshes[index].primitives;
    for (std::size_t i = 0; i < primitives.size(); ++i) {
        if (!primitives[i].triangles.empty()) add_geometry(primitives[i], static_cast<unsigned>(i), mesh);
    }
    rtcCommitScene(mesh);
    check_device();
}

/// Embree gets copies: it reads up to 16 bytes past the last vertex, which the scene's arrays do not have.
void PosedScene::add_geometry(const Primitive& primitive, unsigned id, RTCScene mesh) {
    RTCGeometry geometry = rtcNewGeometry(m_device.get(), RTC_GEOMETRY_TYPE_TRIANGLE);
    const auto copy = [&](RTCBufferType type, RTCFormat format, const auto& elements) {
        void* buffer =
            rtcSetNewGeometryBuffer(geometry, type, 0, format, sizeof(elements[0]), elements.size());
        using Element = std::decay_t<decltype(elements[0])>;
        if (buffer != nullptr) std::copy(elements.begin(), elements.end(), static_cast<Element*>(buffer));
    };
    copy(RTC_BUFFER_TYPE_VERTEX, RTC_FORMAT_FLOAT3, shown_positions(primitive.positions));
    copy(RTC_BUFFER_TYPE_INDEX, RTC_FORMAT_UINT3, primitive.triangles);
    if (m_scene.materials[static_cast<std::size_t>(primitive.material)].alpha_mode != AlphaMode::opaque) {
        rtcSetGeometryUserData(geometry, const_cast<Primitive*>(&primitive));
        rtcSetGeometryOccludedFilterFunction(geometry, pass_through);
    }
    rtcCommitGeometry(geometry);
    rtcAttachGeometryByID(mesh, geometry, id);
    rtcReleaseGeometry(geometry);
    check_device();
}

void PosedScene::add_instances() {
    for (std::size_t node = 0; node < m_scene.nodes.size(); ++node) {
        const int mesh = m_scene.nodes[node].mesh;
        if (mesh < 0) continue;
        RTCGeometry instance = rtcNewGeometry(m_device.get(), RTC_GEOMETRY_TYPE_INSTANCE);
        rtcSetGeometryInstancedScene(instance, m_meshes[static_cast<std::size_t>(mesh)].get());
        rtcCommitGeometry(instance);
        rtcAttachGeometryByID(m_top.get(), instance, static_cast<unsigned>(node));
        rtcReleaseGeometry(instance);
    }
    check_device();
    m_instanced = true;
}

void PosedScene::place(std::size_t node) {
    RTCGeometry instance = rtcGetGeometry(m_top.get(), static_cast<unsigned>(node));
    const double reach = is_solid(m_pose[node]) ? reach_of(m_pose[node]) : 0;
    RTCBounds box;
    rtcGetSceneBounds(m_meshes[static_cast<std::size_t>(m_scene.nodes[node].mesh)].get(), &box);
    if (!(reach >= least_reach) || !is_shown(box, m_pose[node])) {
        rtcDisableGeometry(instance);
        return;
    }
    m_reach = std::min(m_reach, reach);
    m_normal_matrices[node] = linear_part(m_pose[node]).inverse().transposed();
    rtcEnableGeometry(instance);
    // Row vectors in row-major order are column vectors in column-major order.
    rtcSetGeometryTransform(instance, 0, RTC_FORMAT_FLOAT4X4_COLUMN_MAJOR, &m_pose[node].x[0][0]);
    rtcCommitGeometry(instance);
}

bool PosedScene::can_trace(const Ray& ray) const {
    const auto reach = static_cast<float>(m_reach);
    const float length2 = ray.direction.length2();
    return std::abs(ray.origin.x) <= reach && std::abs(ray.origin.y) <= reach &&
           std::abs(ray.origin.z) <= reach && length2 > 0.25f && length2 < 4 && ray.near >= 0 &&
           !std::isnan(ray.far);
}

bool PosedScene::intersect(const Ray& ray, Hit& hit) const {
    if (!can_trace(ray)) return false;
    RTCIntersectContext context;
    rtcInitIntersectContext(&context);
    RTCRayHit query{};
    query.ray = to_embree(ray);
    query.hit.geomID = RTC_INVALID_GEOMETRY_ID;
    rtcIntersect1(m_top.get(), &context, &query);
    if (query.hit.geomID == RTC_INVALID_GEOMETRY_ID) return false;
    hit = {query.ray.tfar,
           static_cast<int>(query.hit.instID[0]),
           static_cast<int>(query.hit.geomID),
           static_cast<int>(query.hit.primID),
           query.hit.u,
           query.hit.v};
    return true;
}

float PosedScene::visibility(const Ray& ray) const {
    if (!can_trace(ray)) return 1;
    ShadowQuery query{{}, m_scene, 1};
    rtcInitIntersectContext(&query.context);
    RTCRay shadow = to_embree(ray);
    rtcOccluded1(m_top.get(), &query.context, &shadow);
    return shadow.tfar < 0 ? 0 : query.visible;
}

}  // namespace corrivane::host
