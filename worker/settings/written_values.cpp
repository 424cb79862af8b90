// Values as job files have them, and what the schema says of each type.
#include "worker/settings/setting_values.h"

#include <nlohmann/json.hpp>

#include <cctype>

namespace corrivane::worker {
namespace {

using Json = nlohmann::ordered_json;

/// An object whose members are all numbers of one kind.
Json object_schema(std::initializer_list<const char*> required, std::initializer_list<const char*> optional,
                   const char* type) {
    Json schema{{"type", "object"}, {"properties", Json::object()}, {"required", required}};
    for (const auto& keys : {required, optional})
        for (const char* key : keys)
            schema["properties"][key] = {{"type", type}};
    schema["additionalProperties"] = false;
    return schema;
}

Json any_value_schema() {
    return {{"type", {"string", "number", "boolean"}}};
}

template <typename Container>
Json unless_empty(const Container& value) {
    return value.empty() ? Json() : Json(value);
}

const char* verify_name(Verify verify) {
    switch (verify) {
        case Verify::full:
            return "full";
        case Verify::fast:
            return "fast";
        case Verify::off:
            return "off";
    }
    return "";
}

bool is_path_of_its_own(const std::string& path) {
    const bool has_drive =
        path.size() >= 2 && path[1] == ':' && std::isalpha(static_cast<unsigned char>(path[0])) != 0;
    return path.empty() || path[0] == '/' || path[0] == '\\' || has_drive;
}

}  // namespace

Json written_value(bool value) {
    return value;
}

Json written_value(int value) {
    return value;
}

Json written_value(const std::string& value) {
    return unless_empty(value);
}

Json written_value(const std::chrono::milliseconds& value) {
    return value == std::chrono::milliseconds::max() ? 0 : value.count() / 1000;
}

Json written_value(const std::vector<std::string>& value) {
    return unless_empty(value);
}

Json written_value(const std::map<std::string, std::string>& value) {
    return unless_empty(value);
}

Json written_value(const std::map<std::string, std::vector<std::string>>& value) {
    return unless_empty(value);
}

Json written_value(const std::map<char, std::string>& value) {
    Json drives;
    for (const auto& [letter, folder] : value)
        drives[std::string(1, letter)] = folder;
    return drives;
}

Json written_value(const Region& value) {
    return {{"left", value.left},
            {"top", value.top},
            {"right", value.right},
            {"bottom", value.bottom},
            {"padding", value.padding}};
}

Json written_value(const BlackFrameCheck& value) {
    return {{"percentage", value.percentage}, {"threshold", value.threshold}};
}

Json written_value(const IgnoreMissing& value) {
    return unless_empty(missing_kind_names(value));
}

Json written_value(Verify value) {
    return verify_name(value);
}

Json written_value(ViewSettings::Progress value) {
    return progress_name(value);
}

Json schema_of(const bool& /*type*/) {
    return {{"type", "boolean"}};
}

Json schema_of(const int& /*type*/) {
    return {{"type", "integer"}};
}

Json schema_of(const std::string& /*type*/) {
    return {{"type", "string"}};
}

Json schema_of(const std::chrono::milliseconds& /*type*/) {
    return {{"type", "integer"}, {"minimum", 0}};
}

Json schema_of(const std::vector<std::string>& /*type*/) {
    return {{"type", "array"}, {"items", {{"type", "string"}}}};
}

Json schema_of(const std::map<std::string, std::string>& /*type*/) {
    return {{"type", "object"}, {"additionalProperties", any_value_schema()}};
}

Json schema_of(const std::map<std::string, std::vector<std::string>>& /*type*/) {
    Json entry = any_value_schema();
    entry["type"].push_back("array");
    entry["items"] = any_value_schema();
    return {{"type", "object"}, {"additionalProperties", entry}};
}

Json schema_of(const std::map<char, std::string>& /*type*/) {
    return {{"type", "object"},
            {"patternProperties", {{"^[A-Za-z]$", {{"type", "string"}, {"minLength", 1}}}}},
            {"additionalProperties", false}};
}

Json schema_of(const Region& /*type*/) {
    return object_schema({"left", "top", "right", "bottom"}, {"padding"}, "integer");
}

Json schema_of(const BlackFrameCheck& /*type*/) {
    return object_schema({"percentage", "threshold"}, {}, "number");
}

Json schema_of(const IgnoreMissing& /*type*/) {
    const IgnoreMissing all{true, true, true, true};
    return {{"type", "array"}, {"items", {{"enum", missing_kind_names(all)}}}};
}

Json schema_of(const Verify& /*type*/) {
    return {{"enum", {verify_name(Verify::full), verify_name(Verify::fast), verify_name(Verify::off)}}};
}

Json schema_of(const ViewSettings::Progress& /*type*/) {
    return {{"enum", progress_names()}};
}

std::string path_from(const std::string& folder, const std::string& path) {
    if (folder.empty() || is_path_of_its_own(path)) return path;
    return folder + (folder.ends_with('/') ? "" : "/") + path;
}

void take_paths_from(const std::string& folder, std::string& path) {
    path = path_from(folder, path);
}

void take_paths_from(const std::string& folder, std::vector<std::string>& paths) {
    for (std::string& path : paths)
        take_paths_from(folder, path);
}

void take_paths_from(const std::string& folder, std::map<char, std::string>& paths) {
    for (auto& [letter, path] : paths)
        take_paths_from(folder, path);
}

void take_paths_from(const std::string& folder, std::optional<std::string>& path) {
    if (path) take_paths_from(folder, *path);
}

}  // namespace corrivane::worker
