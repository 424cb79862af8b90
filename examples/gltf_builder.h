#pragma once

#include "shapes.h"

#include <ImathColor.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <span>
#include <string>
#include <vector>

/// Puts a glTF 2.0 document together: a .gltf with a .bin beside it. What the add functions return is the
/// index by which other parts name the new one.
class GltfBuilder {
public:
    using Json = nlohmann::json;

    GltfBuilder();

    int add_texture(const std::string& image_uri);
    /// `texture` -1: none.
    int add_material(const std::string& name, Imath::C3f color, float metallic, float roughness,
                     int texture = -1);
    /// For what add_material() has no argument for.
    Json& material(int index) { return m_json["materials"][static_cast<std::size_t>(index)]; }
    int add_mesh(const std::string& name, const Shape& shape, int material);
    int add_camera(const Json& camera) { return add("cameras", camera); }
    int add_light(const Json& light);

    /// A node of glTF's JSON; `parent` -1 makes it a root.
    int add_node(Json node, int parent = -1);
    /// Keys for "translation", "rotation" or "scale": 3 or 4 floats each, for CUBICSPLINE three times
    /// as many.
    void animate(int node, const char* path, const char* interpolation, const std::vector<float>& times,
                 const std::vector<float>& values);
    void set_render_settings(const Json& settings) { m_json["scenes"][0]["extras"]["render"] = settings; }

    /// Throws std::runtime_error when a file cannot be written.
    void write(const std::filesystem::path& file);

private:
    int add(const char* array, Json element);
    int add_accessor(std::span<const std::byte> bytes, int component_type, const char* type,
                     std::size_t count);
    int add_floats(const std::vector<float>& values, std::size_t width);

    Json m_json;
    std::vector<std::byte> m_bytes;
};
