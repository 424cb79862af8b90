#include "worker/settings/job_file.h"

#include "json/value.h"
#include "worker/settings/nearest_key.h"
#include "worker/settings/text_file.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>
#include <set>

namespace corrivane::worker {
namespace {

/// Of two members with one key the last would count; a job file with both has a mistake in it.
void refuse_repeated_keys(const json::Value& value) {
    if (value.is_array()) {
        for (const json::Value element : value.elements())
            refuse_repeated_keys(element);
    }
    if (!value.is_object()) return;
    std::set<std::string_view> keys;
    for (const auto& [key, member] : value.members()) {
        if (!keys.insert(key).second) member.fail("is there twice");
        refuse_repeated_keys(member);
    }
}

/// The place of a key in the job: options.alphaSplit is /options/alphaSplit.
nlohmann::ordered_json::json_pointer json_pointer(std::string key) {
    std::ranges::replace(key, '.', '/');
    return nlohmann::ordered_json::json_pointer('/' + key);
}

/// Reads the members of the job, or of an object in it that only groups settings. `group` is empty, or the way
/// to that object with a dot behind it.
void read_members(const json::Value& object, const std::string& group, const std::string& folder,
                  JobSettings& settings) {
    const auto& table = job_setting_table();
    for (const auto& [name, member] : object.members()) {
        const std::string key = group + std::string(name);
        const auto row = std::ranges::find(table, key, &JobSetting::key);
        const bool is_group = std::ranges::any_of(
            table, [&key](const JobSetting& setting) { return setting.key.starts_with(key + '.'); });
        if (name.find('.') == std::string_view::npos && row != table.end() && row->read)
            row->read(member, folder, settings);
        else if (is_group)
            read_members(member, key + '.', folder, settings);
        else if (group.empty() && name == "$schema")
            continue;  // what editors find the schema by
        else
            member.fail("is not a key that is known here" + did_you_mean(nearest_key(key)));
    }
}

std::string folder_of(const std::string& path) {
    return std::filesystem::path(path).parent_path().string();
}

}  // namespace

JobSettings parse_job(std::string_view text, const std::string& name, const std::string& folder) {
    try {
        const json::Document document(text);
        refuse_repeated_keys(document.root());
        JobSettings settings;
        read_members(document.root(), "", folder, settings);
        return settings;
    } catch (const json::Error& error) {
        throw JobFileError(name + ": " + error.what());
    }
}

JobSettings read_job_file(const std::string& path) {
    try {
        return path == "-" ? parse_job(read_standard_input(), "standard input", "")
                           : parse_job(read_text_file(path), path, folder_of(path));
    } catch (const TextFileError& error) {
        throw JobFileError(error.what());
    }
}

std::string job_file_text(const JobSettings& settings) {
    nlohmann::ordered_json job;
    for (const JobSetting& setting : job_setting_table()) {
        if (!setting.write) continue;
        nlohmann::ordered_json value = setting.write(settings);
        if (!value.is_null()) job[json_pointer(setting.key)] = std::move(value);
    }
    // Names of files need not be UTF-8; a job file has to.
    return job.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + '\n';
}

}  // namespace corrivane::worker
