#include "gltf_builder.h"

#include <fstream>
#include <stdexcept>

namespace {

using Json = nlohmann::json;

constexpr int unsigned_int_component = 5125;
constexpr int float_component = 5126;

template <typename T>
std::span<const std::byte> bytes_of(const std::vector<T>& values) {
    return std::as_bytes(std::span(values));
}

void write_file(const std::filesystem::path& file, std::span<const char> content) {
    std::ofstream stream(file, std::ios::binary);
    stream.write(content.data(), static_cast<std::streamsize>(content.size()));
    stream.close();
    if (!stream) throw std::runtime_error(file.string() + " cannot be written");
}

}  // namespace

GltfBuilder::GltfBuilder()
    : m_json{{"asset", {{"version", "2.0"}, {"generator", "corrivane-example-scene"}}},
             {"extensionsUsed", {"KHR_lights_punctual", "KHR_materials_emissive_strength"}},
             {"scene", 0},
             {"scenes", {{{"name", "Carousel"}, {"nodes", Json::array()}}}},
             {"animations", {{{"name", "Turn"}, {"channels", Json::array()}, {"samplers", Json::array()}}}}} {
}

int GltfBuilder::add(const char* array, Json element) {
    m_json[array].push_back(std::move(element));
    return static_cast<int>(m_json[array].size()) - 1;
}

int GltfBuilder::add_accessor(std::span<const std::byte> bytes, int component_type, const char* type,
                              std::size_t count) {
    const int view =
        add("bufferViews", {{"buffer", 0}, {"byteOffset", m_bytes.size()}, {"byteLength", bytes.size()}});
    m_bytes.insert(m_bytes.end(), bytes.begin(), bytes.end());
    return add("accessors",
               {{"bufferView", view}, {"componentType", component_type}, {"type", type}, {"count", count}});
}

int GltfBuilder::add_floats(const std::vector<float>& values, std::size_t width) {
    static constexpr const char* types[] = {"SCALAR", "VEC2", "VEC3", "VEC4"};
    return add_accessor(bytes_of(values), float_component, types[width - 1], values.size() / width);
}

int GltfBuilder::add_texture(const std::string& image_uri) {
    return add("textures", {{"source", add("images", {{"uri", image_uri}})}});
}

int GltfBuilder::add_material(const std::string& name, Imath::C3f color, float metallic, float roughness,
                              int texture) {
    Json surface = {{"baseColorFactor", {color.x, color.y, color.z, 1}},
                    {"metallicFactor", metallic},
                    {"roughnessFactor", roughness}};
    if (texture >= 0) surface["baseColorTexture"] = {{"index", texture}};
    return add("materials", {{"name", name}, {"pbrMetallicRoughness", surface}});
}

int GltfBuilder::add_mesh(const std::string& name, const Shape& shape, int material_index) {
    const std::size_t count = shape.positions.size();
    const int positions = add_accessor(bytes_of(shape.positions), float_component, "VEC3", count);
    const int normals = add_accessor(bytes_of(shape.normals), float_component, "VEC3", count);
    const int uvs = add_accessor(bytes_of(shape.uvs), float_component, "VEC2", count);
    const int indices =
        add_accessor(bytes_of(shape.triangles), unsigned_int_component, "SCALAR", shape.triangles.size() * 3);
    // glTF asks for the box of positions.
    Imath::V3f low = shape.positions.front();
    Imath::V3f high = low;
    for (const Imath::V3f& p : shape.positions) {
        for (int c = 0; c < 3; ++c) {
            low[c] = std::min(low[c], p[c]);
            high[c] = std::max(high[c], p[c]);
        }
    }
    m_json["accessors"][static_cast<std::size_t>(positions)]["min"] = {low.x, low.y, low.z};
    m_json["accessors"][static_cast<std::size_t>(positions)]["max"] = {high.x, high.y, high.z};
    const Json primitive = {
        {"attributes", {{"POSITION", positions}, {"NORMAL", normals}, {"TEXCOORD_0", uvs}}},
        {"indices", indices},
        {"material", material_index}};
    return add("meshes", {{"name", name}, {"primitives", {primitive}}});
}

int GltfBuilder::add_light(const Json& light) {
    Json& lights = m_json["extensions"]["KHR_lights_punctual"]["lights"];
    lights.push_back(light);
    return static_cast<int>(lights.size()) - 1;
}

int GltfBuilder::add_node(Json node, int parent) {
    const int index = add("nodes", std::move(node));
    if (parent < 0) {
        m_json["scenes"][0]["nodes"].push_back(index);
    } else {
        m_json["nodes"][static_cast<std::size_t>(parent)]["children"].push_back(index);
    }
    return index;
}

void GltfBuilder::animate(int node, const char* path, const char* interpolation,
                          const std::vector<float>& times, const std::vector<float>& values) {
    Json& animation = m_json["animations"][0];
    const std::size_t width = std::string_view(path) == "rotation" ? 4 : 3;
    const int input = add_floats(times, 1);
    // Required for the times of animations.
    m_json["accessors"][static_cast<std::size_t>(input)]["min"] = {times.front()};
    m_json["accessors"][static_cast<std::size_t>(input)]["max"] = {times.back()};
    animation["channels"].push_back(
        {{"sampler", animation["samplers"].size()}, {"target", {{"node", node}, {"path", path}}}});
    animation["samplers"].push_back(
        {{"input", input}, {"output", add_floats(values, width)}, {"interpolation", interpolation}});
}

void GltfBuilder::write(const std::filesystem::path& file) {
    const std::filesystem::path buffer = std::filesystem::path(file).replace_extension(".bin");
    m_json["buffers"] = {{{"uri", buffer.filename().string()}, {"byteLength", m_bytes.size()}}};
    if (file.has_parent_path()) std::filesystem::create_directories(file.parent_path());
    write_file(buffer, {reinterpret_cast<const char*>(m_bytes.data()), m_bytes.size()});
    write_file(file, m_json.dump(1) + "\n");
}
