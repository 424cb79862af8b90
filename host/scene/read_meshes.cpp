#include "scene/part_readers.h"

#include <map>
#include <numeric>

namespace corrivane::host {

namespace {

class MeshReader {
public:
    MeshReader(LoadContext& context, const GltfDocument& document, AccessorReader& accessors, Scene& scene)
        : m_context(context),
          m_document(document),
          m_accessors(accessors),
          m_scene(scene),
          m_default_material(int(scene.materials.size()) - 1) {}

    void read_all();

private:
    void read_primitive(const tinygltf::Primitive& source, const std::string& who, Mesh& mesh);
    bool can_be_drawn(const tinygltf::Primitive& source, const std::string& who);
    void read_attributes(const tinygltf::Primitive& source, const std::string& who, Primitive& primitive);
    template <typename Vector>
    std::vector<Vector> read_attribute(const tinygltf::Primitive& source, const char* name,
                                       const std::string& who, std::size_t expected);
    std::vector<Imath::C4f> read_colors(const tinygltf::Primitive& source, const std::string& who,
                                        std::size_t expected);
    void read_triangles(const tinygltf::Primitive& source, const std::string& who, Primitive& primitive);
    void check_texture_coordinates(const std::string& who, Primitive& primitive);
    int without_textures(int material);

    LoadContext& m_context;
    const GltfDocument& m_document;
    AccessorReader& m_accessors;
    Scene& m_scene;
    int m_default_material;
    std::map<int, int> m_without_textures;
};

void MeshReader::read_all() {
    const std::vector<tinygltf::Mesh>& meshes = m_document.model.meshes;
    for (std::size_t i = 0; i < meshes.size(); ++i) {
        Mesh mesh;
        mesh.name = meshes[i].name;
        for (std::size_t p = 0; p < meshes[i].primitives.size(); ++p) {
            const std::string who = numbered("mesh", i) + ", " + numbered("primitive", p);
            read_primitive(meshes[i].primitives[p], who, mesh);
        }
        m_scene.meshes.push_back(std::move(mesh));
    }
}

void MeshReader::read_primitive(const tinygltf::Primitive& source, const std::string& who, Mesh& mesh) {
    if (!can_be_drawn(source, who)) return;
    Primitive primitive;
    primitive.material =
        m_context.optional_index(source.material, m_document.model.materials.size(), "material", who);
    if (primitive.material == -1) primitive.material = m_default_material;
    read_attributes(source, who, primitive);
    read_triangles(source, who, primitive);
    check_texture_coordinates(who, primitive);
    mesh.primitives.push_back(std::move(primitive));
}

/// Says why not in a warning.
bool MeshReader::can_be_drawn(const tinygltf::Primitive& source, const std::string& who) {
    if (source.mode < TINYGLTF_MODE_POINTS || source.mode > TINYGLTF_MODE_TRIANGLE_FAN) {
        m_context.fail(who + ": no mode " + std::to_string(source.mode));
    }
    for (const char* compression : {"KHR_draco_mesh_compression", "EXT_meshopt_compression"}) {
        if (source.extensions.count(compression) != 0) {
            m_context.warn(who + ": left out, " + compression + " is not supported");
            return false;
        }
    }
    if (source.mode < TINYGLTF_MODE_TRIANGLES) {
        m_context.warn(who + ": points and lines are left out");
        return false;
    }
    if (source.attributes.count("POSITION") == 0) {
        m_context.warn(who + ": left out, it has no POSITION");
        return false;
    }
    bool missing = source.indices != -1 && m_accessors.is_missing(source.indices, who + ": indices");
    for (const auto& [name, accessor] : source.attributes) {
        missing = missing || m_accessors.is_missing(accessor, who + ": " + name);
    }
    if (missing) m_context.warn(who + ": left out, its buffer is missing");
    if (!source.targets.empty()) m_context.warn(who + ": morph targets are ignored");
    return !missing;
}

template <typename Vector>
std::vector<Vector> MeshReader::read_attribute(const tinygltf::Primitive& source, const char* name,
                                               const std::string& who, std::size_t expected) {
    const auto attribute = source.attributes.find(name);
    if (attribute == source.attributes.end()) return {};
    const std::string attribute_name = who + ": " + name;
    const std::uint64_t count = m_accessors.count(attribute->second, attribute_name);
    if (expected != 0 && count != expected) {
        m_context.fail(attribute_name + " has " + std::to_string(count) + " elements for " +
                       std::to_string(expected) + " positions");
    }
    return m_accessors.vectors<Vector>(attribute->second, attribute_name);
}

void MeshReader::read_attributes(const tinygltf::Primitive& source, const std::string& who,
                                 Primitive& primitive) {
    primitive.positions = read_attribute<Imath::V3f>(source, "POSITION", who, 0);
    const std::size_t count = primitive.positions.size();
    primitive.normals = read_attribute<Imath::V3f>(source, "NORMAL", who, count);
    for (Imath::V3f& normal : primitive.normals)
        normal.normalize();
    primitive.uvs[0] = read_attribute<Imath::V2f>(source, "TEXCOORD_0", who, count);
    primitive.uvs[1] = read_attribute<Imath::V2f>(source, "TEXCOORD_1", who, count);
    primitive.colors = read_colors(source, who, count);
}

std::vector<Imath::C4f> MeshReader::read_colors(const tinygltf::Primitive& source, const std::string& who,
                                                std::size_t expected) {
    const auto attribute = source.attributes.find("COLOR_0");
    if (attribute == source.attributes.end()) return {};
    if (m_accessors.components(attribute->second, who + ": COLOR_0") == 4) {
        return read_attribute<Imath::C4f>(source, "COLOR_0", who, expected);
    }
    std::vector<Imath::C4f> colors;
    for (const Imath::V3f& color : read_attribute<Imath::V3f>(source, "COLOR_0", who, expected)) {
        colors.emplace_back(color.x, color.y, color.z, 1.0f);
    }
    return colors;
}

void MeshReader::read_triangles(const tinygltf::Primitive& source, const std::string& who,
                                Primitive& primitive) {
    std::vector<std::uint32_t> corners;
    if (source.indices != -1) {
        corners = m_accessors.indices(source.indices, primitive.positions.size(), who + ": indices");
    } else {
        m_context.take_decoded(primitive.positions.size(), sizeof(std::uint32_t), who);
        corners.resize(primitive.positions.size());
        std::iota(corners.begin(), corners.end(), 0u);
    }
    const bool list = source.mode == TINYGLTF_MODE_TRIANGLES;
    if (list && corners.size() % 3 != 0) {
        m_context.fail(who + ": " + std::to_string(corners.size()) + " corners make no whole triangles");
    }
    m_context.take_decoded(list ? corners.size() / 3 : corners.size(), sizeof(primitive.triangles[0]), who);
    for (std::size_t i = 0; i + 2 < corners.size(); i += list ? 3 : 1) {
        // Every other triangle of a strip is turned over, so that all face the same way.
        const std::size_t turn = source.mode == TINYGLTF_MODE_TRIANGLE_STRIP ? i % 2 : 0;
        const std::size_t first = source.mode == TINYGLTF_MODE_TRIANGLE_FAN ? 0 : i;
        primitive.triangles.push_back({corners[first], corners[i + 1 + turn], corners[i + 2 - turn]});
    }
}

void MeshReader::check_texture_coordinates(const std::string& who, Primitive& primitive) {
    const Material& material = m_scene.materials[static_cast<std::size_t>(primitive.material)];
    for (const TextureUse* use : {&material.base_color_texture, &material.emissive_texture}) {
        if (use->texture < 0 || !primitive.uvs[static_cast<std::size_t>(use->uv_set)].empty()) continue;
        const std::string attribute = "TEXCOORD_" + std::to_string(use->uv_set);
        m_context.missing(MissingKind::texture_coordinates, who,
                          who + " is textured and has no " + attribute);
        primitive.material = without_textures(primitive.material);
        return;
    }
}

int MeshReader::without_textures(int material) {
    const auto [found, added] = m_without_textures.try_emplace(material, int(m_scene.materials.size()));
    if (added) {
        Material copy = m_scene.materials[static_cast<std::size_t>(material)];
        copy.base_color_texture.texture = -1;
        copy.emissive_texture.texture = -1;
        m_scene.materials.push_back(std::move(copy));
    }
    return found->second;
}

}  // namespace

void read_meshes(LoadContext& context, const GltfDocument& document, AccessorReader& accessors,
                 Scene& scene) {
    MeshReader(context, document, accessors, scene).read_all();
}

}  // namespace corrivane::host
