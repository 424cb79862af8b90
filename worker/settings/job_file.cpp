#include "worker/settings/job_file.h"

#include "json/value.h"
#include "worker/base/file_descriptor.h"

#include <system/plain_files.h>

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <set>

namespace corrivane::worker {
namespace {

constexpr std::size_t max_file_size = 16 << 20;

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
        if (text.size() > max_file_size)
            throw JobFileError(path + ": is larger than 16 MiB, that is no job file");
    }
}

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

/// Reads the members of the job, or of an object in it that only groups settings. `group` is empty, or the way
/// to that object with a dot behind it. Collects the keys that were there, with the way to them.
void read_members(const json::Value& object, const std::string& group, JobSettings& settings,
                  std::set<std::string>& seen) {
    const auto& table = job_setting_table();
    for (const auto& [name, member] : object.members()) {
        const std::string key = group + std::string(name);
        const auto row = std::ranges::find(table, key, &JobSetting::key);
        const bool is_group = std::ranges::any_of(
            table, [&key](const JobSetting& setting) { return setting.key.starts_with(key + '.'); });
        if (name.find('.') == std::string_view::npos && row != table.end() && row->read)
            row->read(member, settings);
        else if (is_group)
            read_members(member, key + '.', settings, seen);
        else
            member.fail("is not a key that is known here");
        seen.insert(key);
    }
}

JobSettings read_settings(const json::Value& job) {
    refuse_repeated_keys(job);
    JobSettings settings;
    std::set<std::string> seen;
    read_members(job, "", settings, seen);
    for (const JobSetting& setting : job_setting_table())
        if (setting.is_required && !seen.contains(setting.key)) job.at(setting.key);
    return settings;
}

}  // namespace

JobSettings parse_job(std::string_view text, const std::string& name) {
    try {
        return read_settings(json::Document(text).root());
    } catch (const json::Error& error) {
        throw JobFileError(name + ": " + error.what());
    }
}

JobSettings read_job_file(const std::string& path) {
    return parse_job(read_text(path), path);
}

}  // namespace corrivane::worker
