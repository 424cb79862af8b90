#include "host/scene/scene_file.h"

#include <png.h>

#include <cstring>
#include <fstream>

namespace corrivane::host::test {

namespace {

template <typename T>
void append(std::vector<std::uint8_t>& bytes, std::initializer_list<T> values) {
    for (const T value : values) {
        std::uint8_t raw[sizeof value];
        std::memcpy(raw, &value, sizeof value);
        bytes.insert(bytes.end(), raw, raw + sizeof value);
    }
}

std::vector<std::uint8_t> make_buffer() {
    std::vector<std::uint8_t> bytes;
    append<float>(bytes, {0, 0, 0, 2, 0, 0, 0, 2, 0});
    append<float>(bytes, {0, 0, 1, 0, 0, 1});
    append<std::uint16_t>(bytes, {0, 1, 2, 0});
    append<float>(bytes, {0, 1});
    append<float>(bytes, {0, 0, 0, 4, 0, 0});
    return bytes;
}

void append_chunk(std::vector<std::uint8_t>& glb, const char* type, std::vector<std::uint8_t> content,
                  char padding) {
    while (content.size() % 4 != 0)
        content.push_back(static_cast<std::uint8_t>(padding));
    append<std::uint32_t>(glb, {static_cast<std::uint32_t>(content.size())});
    glb.insert(glb.end(), type, type + 4);
    glb.insert(glb.end(), content.begin(), content.end());
}

constexpr const char* base_document = R"({
  "asset": {"version": "2.0"},
  "scene": 0,
  "scenes": [{"name": "Main", "nodes": [0, 3]}],
  "nodes": [
    {"name": "Root", "translation": [0, 1, 0], "children": [1, 2]},
    {"name": "Camera01", "camera": 0, "translation": [0, 0, 5]},
    {"name": "Triangle", "mesh": 0},
    {"name": "Lamp", "extensions": {"KHR_lights_punctual": {"light": 0}}}
  ],
  "extensionsUsed": ["KHR_lights_punctual"],
  "extensions": {"KHR_lights_punctual": {"lights": [{"type": "point", "intensity": 40, "color": [1, 0.5, 0.25]}]}},
  "cameras": [{"type": "perspective", "perspective": {"yfov": 0.8, "znear": 0.1}}],
  "meshes": [{"name": "Mesh", "primitives": [
    {"attributes": {"POSITION": 0, "TEXCOORD_0": 1}, "indices": 2, "material": 0}]}],
  "materials": [{"pbrMetallicRoughness": {"baseColorTexture": {"index": 0}, "metallicFactor": 0}}],
  "textures": [{"source": 0, "sampler": 0}],
  "samplers": [{"wrapS": 33071, "wrapT": 33648}],
  "animations": [{
    "channels": [{"sampler": 0, "target": {"node": 2, "path": "translation"}}],
    "samplers": [{"input": 3, "output": 4}]}],
  "accessors": [
    {"bufferView": 0, "componentType": 5126, "type": "VEC3", "count": 3},
    {"bufferView": 1, "componentType": 5126, "type": "VEC2", "count": 3},
    {"bufferView": 2, "componentType": 5123, "type": "SCALAR", "count": 3},
    {"bufferView": 3, "componentType": 5126, "type": "SCALAR", "count": 2},
    {"bufferView": 4, "componentType": 5126, "type": "VEC3", "count": 2}],
  "bufferViews": [
    {"buffer": 0, "byteOffset": 0, "byteLength": 36},
    {"buffer": 0, "byteOffset": 36, "byteLength": 24},
    {"buffer": 0, "byteOffset": 60, "byteLength": 6},
    {"buffer": 0, "byteOffset": 68, "byteLength": 8},
    {"buffer": 0, "byteOffset": 76, "byteLength": 24}]
})";

}  // namespace

std::string data_uri(const std::vector<std::uint8_t>& bytes) {
    static constexpr char digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text = "data:application/octet-stream;base64,";
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        std::uint32_t group = 0;
        for (std::size_t k = 0; k < 3; ++k)
            group = group << 8 | (i + k < bytes.size() ? bytes[i + k] : 0u);
        for (std::size_t k = 0; k < 4; ++k) {
            text += i + k <= bytes.size() ? digits[group >> (18 - 6 * k) & 63] : '=';
        }
    }
    return text;
}

std::vector<std::uint8_t> png(int width, int height) {
    const std::vector<std::uint8_t> rgba(static_cast<std::size_t>(width * height) * 4, 128);
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(width);
    image.height = static_cast<png_uint_32>(height);
    image.format = PNG_FORMAT_RGBA;
    png_alloc_size_t size = PNG_IMAGE_PNG_SIZE_MAX(image);
    std::vector<std::uint8_t> bytes(size);
    png_image_write_to_memory(&image, bytes.data(), &size, 0, rgba.data(), 0, nullptr);
    bytes.resize(size);
    return bytes;
}

SceneFile::SceneFile() : json(Json::parse(base_document)), m_buffer(make_buffer()) {
    json["buffers"] = {{{"uri", data_uri(m_buffer)}, {"byteLength", m_buffer.size()}}};
    json["images"] = {{{"uri", data_uri(png(4, 2))}}};
}

void SceneFile::write(const std::string& name, const std::string& content) const {
    std::ofstream(path(name), std::ios::binary) << content;
}

void SceneFile::write(const std::string& name, const std::vector<std::uint8_t>& content) const {
    write(name, std::string(content.begin(), content.end()));
}

std::shared_ptr<const Scene> SceneFile::load(const LoadOptions& options) const {
    write("scene.gltf", json.dump());
    return load_scene(path(), options);
}

std::vector<std::uint8_t> SceneFile::glb() const {
    Json document = json;
    document["buffers"][0].erase("uri");
    const std::string text = document.dump();
    std::vector<std::uint8_t> chunks;
    append_chunk(chunks, "JSON", {text.begin(), text.end()}, ' ');
    append_chunk(chunks, "BIN\0", m_buffer, '\0');
    std::vector<std::uint8_t> result = {'g', 'l', 'T', 'F'};
    append<std::uint32_t>(result, {2, static_cast<std::uint32_t>(12 + chunks.size())});
    result.insert(result.end(), chunks.begin(), chunks.end());
    return result;
}

}  // namespace corrivane::host::test
