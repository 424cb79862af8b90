#include "render/search_trees.h"

#include "render/surface.h"

#include <embree3/rtcore.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <type_traits>

namespace corrivane::host {

namespace {

struct DeviceRelease {
    void operator()(RTCDevice device) const { rtcReleaseDevice(device); }
};
struct SceneRelease {
    void operator()(RTCScene scene) const { rtcReleaseScene(scene); }
};
using DevicePointer = std::unique_ptr<RTCDeviceTy, DeviceRelease>;
using ScenePointer = std::unique_ptr<RTCSceneTy, SceneRelease>;

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

struct SearchTrees::Trees {
    DevicePointer device;
    std::vector<ScenePointer> meshes;
    ScenePointer top;
    bool has_nodes = false;

    void check() const {
        if (rtcGetDeviceError(device.get()) != RTC_ERROR_NONE) {
            throw std::runtime_error("the ray tracer cannot build its search trees");
        }
    }

    /// Embree gets copies: it reads up to 16 bytes past the last vertex, which the scene's arrays do not have.
    RTCGeometry triangles(const Primitive& primitive, const std::vector<Imath::V3f>& positions) const {
        RTCGeometry geometry = rtcNewGeometry(device.get(), RTC_GEOMETRY_TYPE_TRIANGLE);
        const auto copy = [&](RTCBufferType type, RTCFormat format, const auto& elements) {
            void* buffer =
                rtcSetNewGeometryBuffer(geometry, type, 0, format, sizeof(elements[0]), elements.size());
            using Element = std::decay_t<decltype(elements[0])>;
            if (buffer != nullptr) std::copy(elements.begin(), elements.end(), static_cast<Element*>(buffer));
        };
        copy(RTC_BUFFER_TYPE_VERTEX, RTC_FORMAT_FLOAT3, positions);
        copy(RTC_BUFFER_TYPE_INDEX, RTC_FORMAT_UINT3, primitive.triangles);
        return geometry;
    }
};

SearchTrees::SearchTrees(const Scene& scene, int threads)
    : m_scene(&scene), m_trees(std::make_unique<Trees>()) {
    const std::string config = threads > 0 ? "threads=" + std::to_string(threads) : std::string();
    m_trees->device.reset(rtcNewDevice(config.c_str()));
    if (!m_trees->device) throw std::runtime_error("the ray tracer does not start");
    m_trees->meshes.resize(scene.meshes.size());
    m_trees->top.reset(rtcNewScene(m_trees->device.get()));
    rtcSetSceneFlags(m_trees->top.get(), RTC_SCENE_FLAG_ROBUST);
    rtcSetSceneBuildQuality(m_trees->top.get(), RTC_BUILD_QUALITY_MEDIUM);
}

SearchTrees::~SearchTrees() = default;

void SearchTrees::build_mesh(std::size_t index, Positions (*shown)(Positions)) {
    m_trees->meshes[index].reset(rtcNewScene(m_trees->device.get()));
    RTCScene mesh = m_trees->meshes[index].get();
    rtcSetSceneFlags(mesh, RTC_SCENE_FLAG_ROBUST);
    const std::vector<Primitive>& primitives = m_scene->meshes[index].primitives;
    for (std::size_t i = 0; i < primitives.size(); ++i) {
        const Primitive& primitive = primitives[i];
        if (primitive.triangles.empty()) continue;
        RTCGeometry geometry = m_trees->triangles(primitive, shown(primitive.positions));
        if (m_scene->materials[static_cast<std::size_t>(primitive.material)].alpha_mode !=
            AlphaMode::opaque) {
            rtcSetGeometryUserData(geometry, const_cast<Primitive*>(&primitive));
            rtcSetGeometryOccludedFilterFunction(geometry, pass_through);
        }
        rtcCommitGeometry(geometry);
        rtcAttachGeometryByID(mesh, geometry, static_cast<unsigned>(i));
        rtcReleaseGeometry(geometry);
        m_trees->check();
    }
    rtcCommitScene(mesh);
    m_trees->check();
}

Imath::Box3f SearchTrees::bounds(std::size_t mesh) const {
    RTCBounds box;
    rtcGetSceneBounds(m_trees->meshes[mesh].get(), &box);
    return {{box.lower_x, box.lower_y, box.lower_z}, {box.upper_x, box.upper_y, box.upper_z}};
}

void SearchTrees::add_nodes() {
    if (m_trees->has_nodes) return;
    for (std::size_t node = 0; node < m_scene->nodes.size(); ++node) {
        const int mesh = m_scene->nodes[node].mesh;
        if (mesh < 0) continue;
        RTCGeometry instance = rtcNewGeometry(m_trees->device.get(), RTC_GEOMETRY_TYPE_INSTANCE);
        rtcSetGeometryInstancedScene(instance, m_trees->meshes[static_cast<std::size_t>(mesh)].get());
        rtcCommitGeometry(instance);
        rtcAttachGeometryByID(m_trees->top.get(), instance, static_cast<unsigned>(node));
        rtcReleaseGeometry(instance);
    }
    m_trees->check();
    m_trees->has_nodes = true;
}

void SearchTrees::hide(std::size_t node) {
    rtcDisableGeometry(rtcGetGeometry(m_trees->top.get(), static_cast<unsigned>(node)));
}

void SearchTrees::place(std::size_t node, const Imath::M44f& matrix) {
    RTCGeometry instance = rtcGetGeometry(m_trees->top.get(), static_cast<unsigned>(node));
    rtcEnableGeometry(instance);
    // Row vectors in row-major order are column vectors in column-major order.
    rtcSetGeometryTransform(instance, 0, RTC_FORMAT_FLOAT4X4_COLUMN_MAJOR, &matrix.x[0][0]);
    rtcCommitGeometry(instance);
}

void SearchTrees::commit() {
    rtcCommitScene(m_trees->top.get());
    m_trees->check();
}

bool SearchTrees::intersect(const Ray& ray, Hit& hit) const {
    RTCIntersectContext context;
    rtcInitIntersectContext(&context);
    RTCRayHit query{};
    query.ray = to_embree(ray);
    query.hit.geomID = RTC_INVALID_GEOMETRY_ID;
    rtcIntersect1(m_trees->top.get(), &context, &query);
    if (query.hit.geomID == RTC_INVALID_GEOMETRY_ID) return false;
    hit = {query.ray.tfar,
           static_cast<int>(query.hit.instID[0]),
           static_cast<int>(query.hit.geomID),
           {static_cast<int>(query.hit.primID), query.hit.u, query.hit.v}};
    return true;
}

float SearchTrees::visibility(const Ray& ray) const {
    ShadowQuery query{{}, *m_scene, 1};
    rtcInitIntersectContext(&query.context);
    RTCRay shadow = to_embree(ray);
    rtcOccluded1(m_trees->top.get(), &query.context, &shadow);
    return shadow.tfar < 0 ? 0 : query.visible;
}

}  // namespace corrivane::host
