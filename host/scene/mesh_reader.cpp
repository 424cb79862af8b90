#include "scene/mesh_reader.h"

#include "scene/value_readers.h"

#include <algorithm>
#include <array>
#include <numeric>

namespace corrivane::host {

namespace {

enum Mode { mode_triangles = 4, mode_triangle_strip = 5, mode_triangle_fan = 6 };

constexpr std::array attributes_read{"POSITION", "NORMAL", "TEXCOORD_0", "TEXCOORD_1", "COLOR_0"};

int read_mode(const json::Value& part) {
    const auto mode = part.find("mode");
    if (!mode) return mode_triangles;
    constexpr int last = mode_triangle_fan;
    if (!(mode->number() >= 0 && mode->number() <= last)) part.fail("no mode " + mode->number_text());
    return static_cast<int>(mode->whole(0, last));
}

}  // namespace

int MeshReader::mesh_of(const json::Value& node) {
    const auto index = m_meshes.find(node, "mesh");
    if (!index) return -1;
    const auto [found, added] = m_read.try_emplace(*index, static_cast<int>(m_scene.meshes.size()));
    if (added) m_scene.meshes.push_back(read(m_meshes[*index]));
    return found->second;
}

Mesh MeshReader::read(const json::Value& part) {
    Mesh mesh;
    mesh.name = text_or(part, "name", "");
    const auto primitives = part.find("primitives");
    if (!primitives) return mesh;
    for (const json::Value primitive : primitives->elements())
        read_primitive(primitive, mesh);
    return mesh;
}

void MeshReader::read_primitive(const json::Value& part, Mesh& mesh) {
    const int mode = read_mode(part);
    if (!can_be_drawn(part, mode)) return;
    m_context.take(2 * sizeof(Primitive), part);
    Primitive primitive;
    // Before the buffers, so that one load tells of all files that are missing.
    primitive.material = m_materials.material_of(part);
    if (is_missing(part)) {
        m_context.warn(part, "left out, its buffer is missing");
        return;
    }
    read_attributes(part.at("attributes"), primitive);
    read_triangles(part, mode, primitive);
    check_texture_coordinates(part, primitive);
    mesh.primitives.push_back(std::move(primitive));
}

/// Says why not in a warning.
bool MeshReader::can_be_drawn(const json::Value& part, int mode) {
    for (const char* compression : {"KHR_draco_mesh_compression", "EXT_meshopt_compression"}) {
        if (find_extension(part, compression)) {
            m_context.warn(part, std::string("left out, ") + compression + " is not supported");
            return false;
        }
    }
    if (mode < mode_triangles) {
        m_context.warn(part, "points and lines are left out");
        return false;
    }
    const auto attributes = part.find("attributes");
    if (!attributes || !attributes->find("POSITION")) {
        m_context.warn(part, "left out, it has no POSITION");
        return false;
    }
    if (part.find("targets")) m_context.warn(part, "morph targets are ignored");
    return true;
}

bool MeshReader::is_missing(const json::Value& part) {
    const auto lost = [this](const json::Value& owner, const char* name) {
        const auto accessor = owner.find(name);
        return accessor && m_accessors.is_missing(*accessor);
    };
    const json::Value attributes = part.at("attributes");
    return lost(part, "indices") ||
           std::ranges::any_of(attributes_read, [&](const char* name) { return lost(attributes, name); });
}

template <typename Vector>
std::vector<Vector> MeshReader::read_attribute(const json::Value& attributes, std::string_view name,
                                               std::size_t expected) {
    const auto attribute = attributes.find(name);
    if (!attribute) return {};
    const std::uint64_t count = m_accessors.count(*attribute);
    if (expected != 0 && count != expected) {
        throw json::Error(attribute->path(), " has " + std::to_string(count) + " elements for " +
                                                 std::to_string(expected) + " positions");
    }
    return m_accessors.vectors<Vector>(*attribute);
}

void MeshReader::read_attributes(const json::Value& attributes, Primitive& primitive) {
    primitive.positions = read_attribute<Imath::V3f>(attributes, "POSITION", 0);
    const std::size_t count = primitive.positions.size();
    primitive.normals = read_attribute<Imath::V3f>(attributes, "NORMAL", count);
    for (Imath::V3f& normal : primitive.normals)
        normal.normalize();
    primitive.uvs[0] = read_attribute<Imath::V2f>(attributes, "TEXCOORD_0", count);
    primitive.uvs[1] = read_attribute<Imath::V2f>(attributes, "TEXCOORD_1", count);
    primitive.colors = read_colors(attributes, count);
}

std::vector<Imath::C4f> MeshReader::read_colors(const json::Value& attributes, std::size_t expected) {
    const auto attribute = attributes.find("COLOR_0");
    if (!attribute) return {};
    if (m_accessors.components(*attribute) == 4) {
        return read_attribute<Imath::C4f>(attributes, "COLOR_0", expected);
    }
    const auto values = read_attribute<Imath::V3f>(attributes, "COLOR_0", expected);
    m_context.take(values.size(), sizeof(Imath::C4f), *attribute);
    std::vector<Imath::C4f> colors;
    colors.reserve(values.size());
    for (const Imath::V3f& color : values)
        colors.emplace_back(color.x, color.y, color.z, 1.0f);
    return colors;
}

std::vector<std::uint32_t> MeshReader::read_corners(const json::Value& part, std::size_t positions) {
    if (const auto indices = part.find("indices")) return m_accessors.indices(*indices, positions);
    m_context.take(positions, sizeof(std::uint32_t), part);
    std::vector<std::uint32_t> corners(positions);
    std::iota(corners.begin(), corners.end(), 0u);
    return corners;
}

void MeshReader::read_triangles(const json::Value& part, int mode, Primitive& primitive) {
    const std::vector<std::uint32_t> corners = read_corners(part, primitive.positions.size());
    const bool list = mode == mode_triangles;
    if (corners.size() < 3 || (list && corners.size() % 3 != 0)) {
        m_context.warn(part, std::to_string(corners.size()) + " corners make no whole triangles");
    }
    const std::size_t count =
        list ? corners.size() / 3 : corners.size() - std::min<std::size_t>(corners.size(), 2);
    m_context.take(count, sizeof(primitive.triangles[0]), part);
    primitive.triangles.reserve(count);
    for (std::size_t i = 0; i + 2 < corners.size(); i += list ? 3 : 1) {
        // Every other triangle of a strip is turned over, so that all face the same way.
        const std::size_t turn = mode == mode_triangle_strip ? i % 2 : 0;
        const std::size_t first = mode == mode_triangle_fan ? 0 : i;
        primitive.triangles.push_back({corners[first], corners[i + 1 + turn], corners[i + 2 - turn]});
    }
}

void MeshReader::check_texture_coordinates(const json::Value& part, Primitive& primitive) {
    const Material& material = m_scene.materials[static_cast<std::size_t>(primitive.material)];
    for (const TextureUse* use : {&material.base_color_texture, &material.emissive_texture}) {
        if (use->texture < 0 || !primitive.uvs[static_cast<std::size_t>(use->uv_set)].empty()) continue;
        m_context.missing_coordinates(part, "is textured and has no TEXCOORD_" + std::to_string(use->uv_set));
        primitive.material = m_materials.without_textures(primitive.material);
        return;
    }
}

}  // namespace corrivane::host
