#include "scene/settings_reader.h"

#include "json/shortened.h"
#include "scene/value_readers.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <utility>

namespace corrivane::host {

namespace {

using json::Value;

constexpr std::array<std::pair<std::string_view, ElementType>, 5> element_types{{
    {"depth", ElementType::depth},
    {"normal", ElementType::normal},
    {"albedo", ElementType::albedo},
    {"alpha", ElementType::alpha},
    {"ambientOcclusion", ElementType::ambient_occlusion},
}};

void read(const Value& value, bool& result) {
    result = value.boolean();
}

void read(const Value& value, std::string& result) {
    const std::string_view text = value.text();
    if (text.find('\0') != std::string_view::npos) value.refuse("a string without NUL characters");
    result = text;
}

void read(const Value& value, int& result) {
    result = static_cast<int>(value.whole(0, 1'000'000));
}

void read(const Value& value, RenderElementSettings& result);

/// An array, each of whose elements is read by the overload for its type.
template <typename T>
void read(const Value& value, std::vector<T>& result) {
    for (const Value element : value.elements())
        read(element, result.emplace_back());
}

/// A word of a class identifier: a number, or a string in decimal or with 0x in front.
std::uint32_t class_id_word(const Value& value) {
    const char* const expected = "a 32-bit number or a string such as \"0x52ad1c02\"";
    if (value.is_number()) {
        if (!(value.number() >= 0 && value.number() <= 0xffffffffu)) value.refuse(expected);
        return static_cast<std::uint32_t>(value.whole(0, 0xffffffffu));
    }
    if (!value.is_string()) value.refuse(expected);
    std::string_view digits = value.text();
    const bool hexadecimal = digits.starts_with("0x") || digits.starts_with("0X");
    if (hexadecimal) digits.remove_prefix(2);
    std::uint32_t word = 0;
    const char* end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, word, hexadecimal ? 16 : 10);
    if (error != std::errc() || stop != end) value.refuse(expected);
    return word;
}

void read(const Value& value, std::optional<ClassId>& result) {
    if (!value.is_array() || value.count() != 2) value.refuse("an array of two 32-bit numbers");
    ClassId words{};
    std::size_t i = 0;
    for (const Value word : value.elements())
        words[i++] = class_id_word(word);
    result = words;
}

/// Leaves `result` alone when the key is not there.
template <typename T>
void read_member(const Value& object, std::string_view key, T& result) {
    if (const auto value = object.find(key)) read(*value, result);
}

void read_whole(const Value& object, std::string_view key, int low, int high, int& result) {
    result = whole_or(object, key, low, high, result);
}

void read_number(const Value& object, std::string_view key, double low, double high, float& result) {
    result = number_or(object, key, {low, high}, result);
}

void read(const Value& value, RenderElementSettings& result) {
    const Value type = value.at("type");
    const auto found =
        std::ranges::find(element_types, type.text(), [](const auto& entry) { return entry.first; });
    if (found == element_types.end()) {
        type.refuse("depth, normal, albedo, alpha or ambientOcclusion, not \"" +
                    json::shortened(type.text()) + "\"");
    }
    result.type = found->second;
    read_member(value, "output", result.output);
}

/// The named object of the extras.
std::optional<Value> object_of(const std::optional<Value>& extras, std::string_view name) {
    if (!extras || !extras->is_object()) return std::nullopt;
    const auto object = extras->find(name);
    return object && !object->is_null() ? object : std::nullopt;
}

MultipassEffect::Kind read_effect(const Value& effect) {
    if (effect.text() == "depthOfField") return MultipassEffect::Kind::depth_of_field;
    if (effect.text() == "motionBlur") return MultipassEffect::Kind::motion_blur;
    effect.refuse("depthOfField or motionBlur, not \"" + json::shortened(effect.text()) + "\"");
}

}  // namespace

std::string_view element_type_name(ElementType type) {
    for (const auto& [name, named_type] : element_types) {
        if (named_type == type) return name;
    }
    return {};
}

RenderSettings read_render_settings(const std::optional<Value>& extras) {
    RenderSettings settings;
    const auto render = object_of(extras, "render");
    if (!render) return settings;
    read_whole(*render, "width", 1, 32768, settings.width);
    read_whole(*render, "height", 1, 32768, settings.height);
    read_number(*render, "pixelAspect", 0.01, 100, settings.pixel_aspect);
    read_whole(*render, "frameRate", 1, 4800, settings.frame_rate);
    read_whole(*render, "samples", 1, 4096, settings.samples);
    read_member(*render, "output", settings.output);
    read_member(*render, "saveFile", settings.save_file);
    read_member(*render, "skipExistingFrames", settings.skip_existing_frames);
    read_member(*render, "activeView", settings.active_view);
    read_member(*render, "rendererClassId", settings.renderer_class_id);
    read_member(*render, "rendererRequirements", settings.renderer_requirements);
    read_member(*render, "elementsActive", settings.elements_active);
    read_member(*render, "elements", settings.elements);
    read_member(*render, "xrefs", settings.xrefs);
    if (const auto tga = render->find("tga")) read_member(*tga, "alphaSplit", settings.tga_alpha_split);
    return settings;
}

std::optional<MultipassEffect> read_multipass(const std::optional<Value>& extras) {
    const auto multipass = object_of(extras, "multipass");
    if (!multipass) return std::nullopt;
    MultipassEffect effect;
    effect.kind = read_effect(multipass->at("effect"));
    read_whole(*multipass, "passes", 1, 1000, effect.passes);
    read_member(*multipass, "enabled", effect.enabled);
    read_number(*multipass, "radius", 0, 1e6, effect.radius);
    read_number(*multipass, "focusDistance", 1e-6, 1e9, effect.focus_distance);
    read_number(*multipass, "duration", 0, 1000, effect.duration_frames);
    read_member(*multipass, "classId", effect.class_id);
    return effect;
}

}  // namespace corrivane::host
