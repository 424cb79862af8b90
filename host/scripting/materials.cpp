#include "scripting/materials.h"

#include "maxscript/library/paths.h"
#include "maxscript/machine/functions.h"
#include "maxscript/machine/geometry.h"
#include "maxscript/machine/signature.h"
#include "maxscript/streams/file_access.h"
#include "scripting/names.h"
#include "scripting/pictures.h"
#include "scripting/rows.h"

#include <max/maxscript/streams.h>

#include <algorithm>
#include <set>

namespace corrivane::host {

const ValueMetaClass Material_class{"PhysicalMaterial"};
const ValueMetaClass BitmapTexture_class{"Bitmaptexture"};

namespace {

ScriptedScene& open_scene() {
    return ScriptedScene::instance();
}

template <typename Change>
void change(const MaterialValue& material, Change change) {
    forbid_key("materials");
    const auto index = static_cast<std::size_t>(material.index());
    open_scene().document().change_scene([&](Scene& scene) { change(scene.materials[index]); });
}

Value* base_color(MaterialValue& material) {
    const Imath::C4f& color = material.material().base_color;
    return color_value({color.r, color.g, color.b});
}

void set_base_color(MaterialValue& material, const Imath::V3f& wanted) {
    const Imath::C3f color = scene_color(wanted);
    change(material, [&](Material& changed) {
        changed.base_color = {color.x, color.y, color.z, changed.base_color.a};
    });
}

Value* emission(MaterialValue& material) {
    return color_value(material.material().emissive);
}

void set_emission(MaterialValue& material, const Imath::V3f& color) {
    change(material, [&](Material& changed) { changed.emissive = scene_color(color); });
}

/// 0 to 100.
float opacity(MaterialValue& material) {
    const Material& known = material.material();
    return known.alpha_mode == AlphaMode::opaque ? 100 : known.base_color.a * 100;
}

void set_opacity(MaterialValue& material, float percent) {
    if (!(percent >= 0 && percent <= 100)) raise_runtime_error("opacity must be between 0 and 100");
    change(material, [&](Material& changed) {
        changed.base_color.a = percent / 100;
        if (changed.alpha_mode == AlphaMode::opaque && percent < 100) changed.alpha_mode = AlphaMode::blend;
    });
}

template <float Material::*Share>
Property<MaterialValue> share(const char* name) {
    return property(
        name, [](MaterialValue& material) { return material.material().*Share; },
        [name](MaterialValue& material, float part) {
            if (!(part >= 0 && part <= 1))
                raise_runtime_error(std::string(name) + " must be between 0 and 1, got: " + float_text(part));
            change(material, [part](Material& changed) { changed.*Share = part; });
        });
}

/// A map, undefined for none.
template <TextureUse Material::*Use>
Property<MaterialValue> map(const char* name) {
    return property(
        name,
        [](MaterialValue& material) -> Value* {
            const int texture = (material.material().*Use).texture;
            return texture < 0 ? &undefined : new TextureValue(texture);
        },
        [](MaterialValue& material, Value* texture) {
            const int index = texture == &undefined ? -1 : FromScript<TextureValue&>::from(texture).index();
            change(material, [index](Material& changed) { (changed.*Use).texture = index; });
        });
}

int add_texture(const std::string& file) {
    TextureImage image = read_texture_image(file);
    int added = 0;
    open_scene().document().change_scene([&](Scene& scene) {
        scene.images.push_back(std::move(image));
        Texture texture;
        texture.image = static_cast<int>(scene.images.size()) - 1;
        scene.textures.push_back(texture);
        added = static_cast<int>(scene.textures.size()) - 1;
    });
    return added;
}

void set_file_name(TextureValue& texture, const std::string& file) {
    TextureImage image = read_texture_image(file);
    const int index = texture.index();
    open_scene().document().change_scene([&](Scene& scene) {
        scene.images[static_cast<std::size_t>(scene.textures[static_cast<std::size_t>(index)].image)] =
            std::move(image);
    });
}

Value* make_texture(const Keyword<"fileName", std::string>& file) {
    if (!file) raise_absent("bitmap textures without fileName:");
    return new TextureValue(add_texture(*file));
}

Value* all_materials() {
    const Rooted array(make_array());
    std::set<int> used;
    for (const int node : open_scene().nodes()) {
        const int mesh = open_scene().node(node).mesh;
        if (mesh < 0) continue;
        for (const Primitive& part : open_scene().scene().meshes[static_cast<std::size_t>(mesh)].primitives)
            if (used.insert(part.material).second)
                append_to_array(array.get(), new MaterialValue(part.material));
    }
    return array.get();
}

/// The files that the scene refers to, each once; those that are not there only with `missing`.
std::vector<std::string> scene_files(bool missing) {
    std::vector<std::string> files;
    std::set<std::string> seen;
    const Scene& scene = open_scene().scene();
    for (std::size_t i = 0; i < scene.textures.size(); ++i) {
        const auto* texture = new TextureValue(static_cast<int>(i));
        const std::string file = texture->file_name();
        const bool wanted = !file.empty() && (!missing || texture->image().missing);
        if (wanted && seen.insert(file).second) files.push_back(file);
    }
    return files;
}

/// `enumerateFiles function [argument] #missing`: calls the function with each file's name.
void enumerate_files(Value* function, Rest options) {
    static const std::string name = "the function of enumerateFiles";
    std::vector<Value*> values{nullptr};
    bool missing = false;
    for (Value* option : options) {
        const auto* flag = value_as<NameValue>(option);
        static const std::set<std::string> flags{"missing",   "localonly", "inactive",
                                                 "videopost", "render",    "all"};
        if (flag != nullptr && flags.contains(flag->key())) {
            missing = missing || flag->key() == "missing";
        } else {
            values.push_back(option);
        }
    }
    for (const std::string& file : scene_files(missing)) {
        const Rooted text(make_string(file));
        values.front() = text.get();
        Arguments arguments(name, values.data(), values.size(), nullptr, 0);
        call_value(function, arguments);
    }
}

}  // namespace

int MaterialValue::index() const {
    if (open_scene().document().id() != m_document) raise_runtime_error("Attempt to access deleted material");
    return m_index;
}

const Material& MaterialValue::material() const {
    return open_scene().scene().materials[static_cast<std::size_t>(index())];
}

void MaterialValue::sprin1(CharStream* stream) {
    stream->puts((material().name + ":" + metaclass.name).c_str());
}

bool MaterialValue::equals(Value* other) {
    const auto* material = value_as<MaterialValue>(other);
    return material != nullptr && material->m_index == m_index && material->m_document == m_document;
}

int TextureValue::index() const {
    if (open_scene().document().id() != m_document) raise_runtime_error("Attempt to access deleted map");
    return m_index;
}

const TextureImage& TextureValue::image() const {
    const Scene& scene = open_scene().scene();
    return scene.images[static_cast<std::size_t>(scene.textures[static_cast<std::size_t>(index())].image)];
}

std::string TextureValue::file_name() const {
    const std::string& file = image().file;
    if (file.empty() || is_absolute_path(file)) return file;
    std::string path = joined_path(split_path(open_scene().document().file_name()).first, file);
    std::replace(path.begin(), path.end(), '/', '\\');
    return path;
}

void TextureValue::sprin1(CharStream* stream) {
    stream->puts(("Map #" + std::to_string(index() + 1) + ":" + metaclass.name).c_str());
}

bool TextureValue::equals(Value* other) {
    const auto* texture = value_as<TextureValue>(other);
    return texture != nullptr && texture->m_index == m_index && texture->m_document == m_document;
}

const PropertyTable<MaterialValue>& MaterialValue::properties() {
    static const PropertyTable<MaterialValue> table{
        property(
            "name", [](MaterialValue& material) { return material.material().name; },
            [](MaterialValue& material, const std::string& name) {
                change(material, [&](Material& changed) { changed.name = name; });
            }),
        property("base_color", base_color, set_base_color),
        property("baseColor", base_color, set_base_color),
        property("diffuse", base_color, set_base_color),
        property("diffuseColor", base_color, set_base_color),
        property("emit_color", emission, set_emission),
        property("selfIllumColor", emission, set_emission),
        property("opacity", opacity, set_opacity),
        share<&Material::roughness>("roughness"),
        share<&Material::metallic>("metalness"),
        property(
            "twoSided", [](MaterialValue& material) { return material.material().double_sided; },
            [](MaterialValue& material, bool both) {
                change(material, [both](Material& changed) { changed.double_sided = both; });
            }),
        map<&Material::base_color_texture>("base_color_map"),
        map<&Material::base_color_texture>("diffuseMap"),
        map<&Material::emissive_texture>("emit_color_map"),
        map<&Material::emissive_texture>("selfIllumMap"),
        host::kept<MaterialValue>("showInViewport", false),
        host::kept<MaterialValue>("effectsChannel", 0),
        absent<MaterialValue>("bumpMap", "bump maps"),
        absent<MaterialValue>("bump_map", "bump maps"),
        absent<MaterialValue>("opacityMap", "opacity maps apart from the base colour's"),
        absent<MaterialValue>("reflectionMap", "reflection maps"),
        absent<MaterialValue>("displacementMap", "displacement"),
        absent<MaterialValue>("wire", "wire rendering"),
        absent<MaterialValue>("faceted", "faceted rendering"),
        absent<MaterialValue>("ambient", "ambient colours"),
        absent<MaterialValue>("specular", "specular colours"),
        absent<MaterialValue>("glossiness", "glossiness; there is roughness"),
    };
    return table;
}

const PropertyTable<TextureValue>& TextureValue::properties() {
    static const PropertyTable<TextureValue> table{
        property(
            "fileName", [](TextureValue& texture) { return texture.file_name(); }, set_file_name),
        read_only("name",
                  [](TextureValue& texture) { return "Map #" + std::to_string(texture.index() + 1); }),
        absent<TextureValue>("coords", "coordinates of maps"),
        absent<TextureValue>("output", "output of maps"),
    };
    return table;
}

void define_material_functions() {
    define_variable("sceneMaterials", all_materials);
    define_class(BitmapTexture_class, {"BitmapTexture", make_texture});
    define_class(Material_class, {"PhysicalMaterial", []() -> Value* { raise_absent("new materials"); }});
    define_absent("StandardMaterial", "new materials");
    define_absent("Standard", "new materials");
    define_functions({
        {"enumerateFiles", enumerate_files},
        {"usedMaps", [] { return scene_files(false); }},
    });
}

}  // namespace corrivane::host
