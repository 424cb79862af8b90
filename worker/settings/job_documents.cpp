#include "worker/settings/job_documents.h"

#include "worker/settings/job_settings.h"

#include <nlohmann/json.hpp>

namespace corrivane::worker {
namespace {

/// A cell of a table in Markdown.
std::string cell(const std::string& text) {
    std::string escaped;
    for (const char c : text)
        escaped += c == '|' ? "\\|" : std::string(1, c);
    return escaped;
}

}  // namespace

std::string job_schema_text() {
    nlohmann::ordered_json schema{{"$schema", "https://json-schema.org/draft/2020-12/schema"},
                                  {"title", "A job of corrivane-worker"},
                                  {"type", "object"},
                                  {"properties", {{"$schema", {{"type", "string"}}}}},
                                  {"additionalProperties", false}};
    for (const JobSetting& setting : job_setting_table()) {
        if (!setting.schema) continue;
        const auto dot = setting.key.find('.');
        nlohmann::ordered_json& group =
            dot == std::string::npos ? schema : schema["properties"][setting.key.substr(0, dot)];
        if (group.is_null())
            group = {{"type", "object"}, {"properties", {}}, {"additionalProperties", false}};
        nlohmann::ordered_json& property = group["properties"][setting.key.substr(dot + 1)];
        property["description"] = setting.help;
        property.update(setting.schema());
    }
    return schema.dump(2) + '\n';
}

std::string job_key_table() {
    std::string table;
    for (const JobSetting& setting : job_setting_table())
        table += "| `" + setting.key + "` | `" +
                 cell(setting.flag + (setting.form.empty() ? "" : ' ' + setting.form)) + "` | " +
                 cell(setting.help) + " |\n";
    return table;
}

}  // namespace corrivane::worker
