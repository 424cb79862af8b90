#include "worker/job_file.h"

#include "worker/file_descriptor.h"

#include <fcntl.h>
#include <nlohmann/json.hpp>
#include <plain_files.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <set>

namespace corrivane::worker {
namespace {

constexpr std::size_t k_max_file_size = 16 << 20;

std::string read_text(const std::string& path) {
    const FileDescriptor file(open_plain_file(path.c_str(), O_RDONLY));
    if (file.get() == -1) throw JobFileError(path + ": " + plain_file_error(errno));
    std::string text;
    char piece[65536];
    for (;;) {
        const auto count = ::read(file.get(), piece, sizeof piece);
        if (count == -1 && errno == EINTR) continue;
        if (count == -1) throw JobFileError(path + ": cannot be read: " + std::strerror(errno));
        if (count == 0) return text;
        text.append(piece, static_cast<std::size_t>(count));
        if (text.size() > k_max_file_size)
            throw JobFileError(path + ": is larger than 16 MiB, that is no job file");
    }
}

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
    return parse_job(read_text(path), path);
}

}  // namespace corrivane::worker
