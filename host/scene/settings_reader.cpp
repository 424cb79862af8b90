#include "scene/settings_reader.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <charconv>
#include <utility>

namespace corrivane::host {

namespace {

using Json = nlohmann::json;

constexpr std::array<std::pair<std::string_view, ElementType>, 5> element_types{{
    {"depth", ElementType::depth},
    {"normal", ElementType::normal},
    {"albedo", ElementType::albedo},
    {"alpha", ElementType::alpha},
    {"ambientOcclusion", ElementType::ambient_occlusion},
}};

std::string decimal(double value) {
    char text[32];
    return {text, std::to_chars(text, text + sizeof text, value).ptr};
}

[[noreturn]] void refuse(const std::string& key, const std::string& expected) {
    throw SettingsError(key + " should be " + expected);
}

void convert(const Json& value, const std::string& key, bool& result) {
    if (!value.is_boolean()) refuse(key, "true or false");
    result = value.get<bool>();
}

void convert(const Json& value, const std::string& key, std::string& result) {
    if (!value.is_string()) refuse(key, "a string");
    result = value.get<std::string>();
    if (result.find('\0') != std::string::npos) refuse(key, "a string without NUL characters");
}

void convert(const Json& value, const std::string& key, int& result) {
    if (!value.is_number_integer() || value < 0 || value > 1'000'000)
        refuse(key, "a whole number from 0 to 1000000");
    result = value.get<int>();
}

void convert(const Json& value, const std::string& key, RenderElementSettings& result);

/// A JSON array, each of whose elements is converted by the overload for its type.
template <typename T>
void convert(const Json& value, const std::string& key, std::vector<T>& result) {
    if (!value.is_array()) refuse(key, "an array");
    for (std::size_t i = 0; i < value.size(); ++i) {
        T element{};
        convert(value[i], key + "[" + std::to_string(i) + "]", element);
        result.push_back(std::move(element));
    }
}

/// A word of a class identifier: a number, or a string in decimal or with 0x in front.
std::uint32_t class_id_word(const Json& value, const std::string& key) {
    if (value.is_number_unsigned() && value.get<std::uint64_t>() <= 0xffffffffu)
        return value.get<std::uint32_t>();
    if (!value.is_string()) refuse(key, "a 32-bit number or a string such as \"0x52ad1c02\"");
    std::string_view digits = value.get_ref<const std::string&>();
    const bool hexadecimal = digits.starts_with("0x") || digits.starts_with("0X");
    if (hexadecimal) digits.remove_prefix(2);
    std::uint32_t word = 0;
    const char* end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, word, hexadecimal ? 16 : 10);
    if (error != std::errc() || stop != end)
        refuse(key, "a 32-bit number or a string such as \"0x52ad1c02\"");
    return word;
}

void convert(const Json& value, const std::string& key, std::optional<ClassId>& result) {
    if (!value.is_array() || value.size() != 2) refuse(key, "an array of two 32-bit numbers");
    result = ClassId{class_id_word(value[0], key + "[0]"), class_id_word(value[1], key + "[1]")};
}

/// A JSON object whose keys are looked up by name; messages carry the path that led to it.
class Fields {
public:
    Fields(const Json& object, std::string path) : m_object(object), m_path(std::move(path)) {
        if (!object.is_object()) refuse(m_path, "an object");
    }

    /// Nothing when the key is not there.
    const Json* find(const char* key) const {
        const auto found = m_object.find(key);
        return found == m_object.end() ? nullptr : &*found;
    }
    std::string path(const char* key) const { return m_path + "." + key; }

    /// Leaves `result` alone when the key is not there. True when it is.
    template <typename T>
    bool read(const char* key, T& result) const {
        const Json* value = find(key);
        if (value != nullptr) convert(*value, path(key), result);
        return value != nullptr;
    }
    void read_whole(const char* key, int low, int high, int& result) const {
        const Json* value = find(key);
        if (value == nullptr) return;
        if (!value->is_number_integer() || *value < low || *value > high) {
            refuse(path(key), "a whole number from " + std::to_string(low) + " to " + std::to_string(high));
        }
        result = value->get<int>();
    }
    void read_number(const char* key, double low, double high, float& result) const {
        const Json* value = find(key);
        if (value == nullptr) return;
        if (!value->is_number() || value->get<double>() < low || value->get<double>() > high) {
            refuse(path(key), "a number from " + decimal(low) + " to " + decimal(high));
        }
        result = value->get<float>();
    }

private:
    const Json& m_object;
    std::string m_path;
};

void convert(const Json& value, const std::string& key, RenderElementSettings& result) {
    const Fields fields(value, key);
    std::string type;
    if (!fields.read("type", type)) refuse(fields.path("type"), "there");
    const auto found = std::find_if(element_types.begin(), element_types.end(),
                                    [&](const auto& entry) { return entry.first == type; });
    if (found == element_types.end()) {
        refuse(fields.path("type"), "depth, normal, albedo, alpha or ambientOcclusion, not \"" + type + "\"");
    }
    result.type = found->second;
    fields.read("output", result.output);
}

/// The named object of the extras, null when it is not there.
Json object_of(const std::string& extras_json, const char* name) {
    if (extras_json.empty()) return nullptr;
    const Json extras = Json::parse(extras_json, nullptr, false);
    return extras.is_object() ? extras.value(name, Json()) : Json();
}

MultipassEffect::Kind read_effect(const Fields& fields) {
    std::string effect;
    fields.read("effect", effect);
    if (effect == "depthOfField") return MultipassEffect::Kind::depth_of_field;
    if (effect == "motionBlur") return MultipassEffect::Kind::motion_blur;
    refuse(fields.path("effect"), "depthOfField or motionBlur, not \"" + effect + "\"");
}

}  // namespace

std::string_view element_type_name(ElementType type) {
    for (const auto& [name, named_type] : element_types) {
        if (named_type == type) return name;
    }
    return {};
}

RenderSettings read_render_settings(const std::string& extras_json) {
    RenderSettings settings;
    const Json object = object_of(extras_json, "render");
    if (object.is_null()) return settings;
    const Fields fields(object, "render");
    fields.read_whole("width", 1, 32768, settings.width);
    fields.read_whole("height", 1, 32768, settings.height);
    fields.read_number("pixelAspect", 0.01, 100, settings.pixel_aspect);
    fields.read_whole("frameRate", 1, 4800, settings.frame_rate);
    fields.read_whole("samples", 1, 4096, settings.samples);
    fields.read("output", settings.output);
    fields.read("saveFile", settings.save_file);
    fields.read("skipExistingFrames", settings.skip_existing_frames);
    fields.read("activeView", settings.active_view);
    fields.read("rendererClassId", settings.renderer_class_id);
    fields.read("rendererRequirements", settings.renderer_requirements);
    fields.read("elementsActive", settings.elements_active);
    fields.read("elements", settings.elements);
    fields.read("xrefs", settings.xrefs);
    if (const Json* tga = fields.find("tga")) {
        Fields(*tga, fields.path("tga")).read("alphaSplit", settings.tga_alpha_split);
    }
    return settings;
}

std::optional<MultipassEffect> read_multipass(const std::string& extras_json) {
    const Json object = object_of(extras_json, "multipass");
    if (object.is_null()) return std::nullopt;
    const Fields fields(object, "multipass");
    MultipassEffect effect;
    effect.kind = read_effect(fields);
    fields.read_whole("passes", 1, 1000, effect.passes);
    fields.read("enabled", effect.enabled);
    fields.read_number("radius", 0, 1e6, effect.radius);
    fields.read_number("focusDistance", 1e-6, 1e9, effect.focus_distance);
    fields.read_number("duration", 0, 1000, effect.duration_frames);
    fields.read("classId", effect.class_id);
    return effect;
}

}  // namespace corrivane::host
