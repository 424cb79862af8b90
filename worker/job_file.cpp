#include "worker/job_file.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <set>

namespace corrivane::worker {
namespace {

constexpr std::uintmax_t k_max_file_size = 16 << 20;

/// Reads the members of the job, or of an object in it that only groups settings. Collects the keys that
/// were there, each with the way to it.
void read_members(const JobValue& object, JobSettings& settings, std::set<std::string>& seen) {
    const auto& table = job_setting_table();
    for (const auto& [name, member] : object.members()) {
        const std::string& key = member.path();
        if (name.find('.') != std::string::npos) member.refuse("is not a key that is known here");
        const auto row = std::ranges::find(table, key, &JobSetting::key);
        const bool is_group = std::ranges::any_of(
            table, [&key](const JobSetting& setting) { return setting.key.starts_with(key + '.'); });
        if (row != table.end() && row->read)
            row->read(member, settings);
        else if (is_group)
            read_members(member, settings, seen);
        else
            member.refuse("is not a key that is known here");
        seen.insert(key);
    }
}

JobSettings read_settings(const nlohmann::json& document) {
    const JobValue job(document, "");
    JobSettings settings;
    std::set<std::string> seen;
    read_members(job, settings, seen);
    for (const JobSetting& setting : job_setting_table())
        if (setting.is_required && !seen.contains(setting.key)) job.refuse("lacks \"" + setting.key + '"');
    return settings;
}

}  // namespace

JobSettings parse_job(std::string_view text, const std::string& name) {
    try {
        return read_settings(parse_json(text));
    } catch (const JobFileError& error) {
        throw JobFileError(name + ": " + error.what());
    }
}

JobSettings read_job_file(const std::string& path) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error))
        throw JobFileError(path + ": " + (error ? error.message() : "is not a regular file"));
    const auto size = std::filesystem::file_size(path, error);
    if (error) throw JobFileError(path + ": " + error.message());
    if (size > k_max_file_size) throw JobFileError(path + ": is larger than 16 MiB, that is no job file");
    std::string text(size, '\0');
    std::ifstream file(path, std::ios::binary);
    if (!file.read(text.data(), static_cast<std::streamsize>(size)))
        throw JobFileError(path + ": cannot be read");
    return parse_job(text, path);
}

}  // namespace corrivane::worker
