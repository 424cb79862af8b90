#include "worker/job_file.h"

#include "worker/file_descriptor.h"
#include "worker/frame_list.h"

#include <fcntl.h>
#include <nlohmann/json.hpp>
#include <plain_files.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>
#include <set>

namespace corrivane::worker {
namespace {

using nlohmann::json;

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

/// One value of the file and the way to it, such as options.region.left.
class JobValue {
public:
    JobValue(const json& value, std::string path) : m_value(value), m_path(std::move(path)) {}

    [[noreturn]] void refuse(const std::string& reason) const {
        throw JobFileError((m_path.empty() ? "the job" : m_path) + ": " + reason);
    }

    [[noreturn]] void refuse_type(const std::string& expected) const {
        refuse("expected " + expected + ", got " + m_value.type_name());
    }

    std::string text() const {
        if (!m_value.is_string()) refuse_type("a string");
        auto result = m_value.get<std::string>();
        if (result.find('\0') != std::string::npos) refuse("holds a NUL character");
        return result;
    }

    /// A text, or a number or boolean as JSON writes it.
    std::string scalar() const {
        if (m_value.is_string()) return text();
        if (!m_value.is_number() && !m_value.is_boolean()) refuse_type("a string, a number or a boolean");
        return m_value.dump();
    }

    int integer() const {
        if (!m_value.is_number_integer()) refuse_type("an integer");
        const bool fits = m_value.is_number_unsigned()
                              ? m_value.get<std::uint64_t>() <= std::numeric_limits<int>::max()
                              : m_value.get<std::int64_t>() >= std::numeric_limits<int>::min();
        if (!fits) refuse("is beyond 32 bits");
        return m_value.get<int>();
    }

    float number() const {
        if (!m_value.is_number()) refuse_type("a number");
        return m_value.get<float>();
    }

    bool boolean() const {
        if (!m_value.is_boolean()) refuse_type("true or false");
        return m_value.get<bool>();
    }

    bool is_array() const { return m_value.is_array(); }
    bool is_string() const { return m_value.is_string(); }

    std::vector<JobValue> elements() const {
        if (!m_value.is_array()) refuse_type("a list");
        std::vector<JobValue> result;
        for (std::size_t i = 0; i < m_value.size(); ++i)
            result.emplace_back(m_value[i], m_path + "[" + std::to_string(i) + "]");
        return result;
    }

    std::vector<std::pair<std::string, JobValue>> members() const {
        if (!m_value.is_object()) refuse_type("an object");
        std::vector<std::pair<std::string, JobValue>> result;
        for (const auto& [key, value] : m_value.items())
            result.emplace_back(key, JobValue(value, child_path(key)));
        return result;
    }

private:
    std::string child_path(const std::string& key) const { return m_path.empty() ? key : m_path + "." + key; }

    const json& m_value;
    std::string m_path;
};

/// Reads the members of an object whose keys are known, and refuses every other key.
template <typename Target>
struct Member {
    const char* key;
    void (*read)(const JobValue&, Target&);
    bool required = false;
};

template <typename Target, std::size_t count>
Target read_members(const JobValue& object, const Member<Target> (&table)[count]) {
    Target target;
    std::set<std::string> seen;
    for (const auto& [key, value] : object.members()) {
        const auto member =
            std::find_if(table, table + count,
                         [name = std::string_view(key)](const auto& entry) { return name == entry.key; });
        if (member == table + count) value.refuse("is not a key that is known here");
        member->read(value, target);
        seen.insert(key);
    }
    for (const auto& member : table)
        if (member.required && !seen.contains(member.key))
            object.refuse(std::string("lacks \"") + member.key + "\"");
    return target;
}

Region read_region(const JobValue& value) {
    static constexpr Member<Region> table[] = {
        {"left", [](const JobValue& v, Region& region) { region.left = v.integer(); }, true},
        {"top", [](const JobValue& v, Region& region) { region.top = v.integer(); }, true},
        {"right", [](const JobValue& v, Region& region) { region.right = v.integer(); }, true},
        {"bottom", [](const JobValue& v, Region& region) { region.bottom = v.integer(); }, true},
        {"padding", [](const JobValue& v, Region& region) { region.padding = v.integer(); }},
    };
    return read_members(value, table);
}

BlackFrameCheck read_black_frame_check(const JobValue& value) {
    static constexpr Member<BlackFrameCheck> table[] = {
        {"percentage", [](const JobValue& v, BlackFrameCheck& check) { check.percentage = v.integer(); },
         true},
        {"threshold", [](const JobValue& v, BlackFrameCheck& check) { check.threshold = v.number(); }, true},
    };
    return read_members(value, table);
}

IgnoreMissing read_ignore_missing(const JobValue& value) {
    IgnoreMissing ignore;
    for (const JobValue& element : value.elements())
        if (!set_ignore_missing(ignore, element.text()))
            element.refuse("is none of files, uvws, dlls, xrefs");
    return ignore;
}

JobOptions read_options(const JobValue& value) {
    static constexpr Member<JobOptions> table[] = {
        {"frameBase", [](const JobValue& v, JobOptions& options) { options.frame_base = v.integer(); }},
        {"region", [](const JobValue& v, JobOptions& options) { options.region = read_region(v); }},
        {"jpegPreview", [](const JobValue& v, JobOptions& options) { options.jpeg_preview = v.text(); }},
        {"failOnBlack",
         [](const JobValue& v, JobOptions& options) { options.fail_on_black = read_black_frame_check(v); }},
        {"ignoreMissing",
         [](const JobValue& v, JobOptions& options) { options.ignore_missing = read_ignore_missing(v); }},
        {"restartRenderer",
         [](const JobValue& v, JobOptions& options) { options.restart_renderer = v.boolean(); }},
        {"hideFrameBuffer",
         [](const JobValue& v, JobOptions& options) { options.hide_frame_buffer = v.boolean(); }},
        {"removePadding",
         [](const JobValue& v, JobOptions& options) { options.remove_padding = v.boolean(); }},
        {"alphaSplit", [](const JobValue& v, JobOptions& options) { options.alpha_split = v.boolean(); }},
    };
    return read_members(value, table);
}

/// Also for frames given as numbers, so that the limit and the handling of repeats are the same.
std::vector<int> read_frames(const JobValue& value) {
    std::string list;
    if (value.is_string()) {
        list = value.text();
    } else if (value.is_array()) {
        for (const JobValue& element : value.elements())
            list += (list.empty() ? "" : ",") + std::to_string(element.integer());
    } else {
        list = std::to_string(value.integer());
    }
    try {
        return parse_frame_list(list);
    } catch (const std::invalid_argument& error) {
        value.refuse(error.what());
    }
}

std::vector<std::string> read_texts(const JobValue& value) {
    std::vector<std::string> texts;
    for (const JobValue& element : value.elements())
        texts.push_back(element.text());
    return texts;
}

std::map<std::string, std::string> read_job_info(const JobValue& value) {
    std::map<std::string, std::string> info;
    for (const auto& [key, entry] : value.members())
        info.emplace(key, entry.scalar());
    return info;
}

std::map<std::string, std::vector<std::string>> read_submit_info(const JobValue& value) {
    std::map<std::string, std::vector<std::string>> info;
    for (const auto& [key, entry] : value.members()) {
        std::vector<std::string>& elements = info[key];
        if (!entry.is_array()) {
            elements.push_back(entry.scalar());
            continue;
        }
        for (const JobValue& element : entry.elements())
            elements.push_back(element.scalar());
    }
    return info;
}

Job read_job(const JobValue& value) {
    static constexpr Member<Job> table[] = {
        {"scene", [](const JobValue& v, Job& job) { job.scene = v.text(); }, true},
        {"camera", [](const JobValue& v, Job& job) { job.camera = v.text(); }},
        {"frames", [](const JobValue& v, Job& job) { job.frames = read_frames(v); }, true},
        {"output", [](const JobValue& v, Job& job) { job.output = v.text(); }},
        {"options", [](const JobValue& v, Job& job) { job.options = read_options(v); }},
        {"jobInfo", [](const JobValue& v, Job& job) { job.job_info = read_job_info(v); }},
        {"submitInfo", [](const JobValue& v, Job& job) { job.submit_info = read_submit_info(v); }},
        {"auxFiles", [](const JobValue& v, Job& job) { job.aux_files = read_texts(v); }},
        {"preScript", [](const JobValue& v, Job& job) { job.pre_script = v.text(); }},
        {"postScript", [](const JobValue& v, Job& job) { job.post_script = v.text(); }},
    };
    return read_members(value, table);
}

/// The library keeps the last of two members with one key; a job file with both has a mistake in it.
json parse_json(std::string_view text) {
    std::vector<std::set<std::string>> keys_of_open_objects;
    const auto refuse_repeated_keys = [&](int, json::parse_event_t event, json& parsed) {
        if (event == json::parse_event_t::object_start) keys_of_open_objects.emplace_back();
        if (event == json::parse_event_t::object_end) keys_of_open_objects.pop_back();
        if (event == json::parse_event_t::key &&
            !keys_of_open_objects.back().insert(parsed.get<std::string>()).second)
            throw JobFileError("the key " + parsed.dump() + " is there twice in one object");
        return true;
    };
    try {
        return json::parse(text, refuse_repeated_keys);
    } catch (const json::exception& error) {
        const std::string message =
            error.what();  // begins with the library's own name and number in brackets
        const auto tag_end = message.find("] ");
        throw JobFileError(tag_end == std::string::npos ? message : message.substr(tag_end + 2));
    }
}

}  // namespace

Job parse_job(std::string_view text, const std::string& name) {
    try {
        const json document = parse_json(text);
        return read_job(JobValue(document, ""));
    } catch (const JobFileError& error) {
        throw JobFileError(name + ": " + error.what());
    }
}

Job read_job_file(const std::string& path) {
    return parse_job(read_text(path), path);
}

}  // namespace corrivane::worker
