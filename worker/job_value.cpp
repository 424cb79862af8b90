#include "worker/job_value.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <limits>
#include <set>

namespace corrivane::worker {

using nlohmann::json;

void JobValue::refuse(const std::string& reason) const {
    throw JobFileError((m_path.empty() ? "the job" : m_path) + ": " + reason);
}

void JobValue::refuse_type(const std::string& expected) const {
    refuse("expected " + expected + ", got " + m_value.type_name());
}

std::string JobValue::text() const {
    if (!m_value.is_string()) refuse_type("a string");
    auto result = m_value.get<std::string>();
    if (result.find('\0') != std::string::npos) refuse("holds a NUL character");
    return result;
}

std::string JobValue::scalar() const {
    if (m_value.is_string()) return text();
    if (!m_value.is_number() && !m_value.is_boolean()) refuse_type("a string, a number or a boolean");
    return m_value.dump();
}

int JobValue::integer() const {
    if (!m_value.is_number_integer()) refuse_type("an integer");
    const bool fits = m_value.is_number_unsigned()
                          ? m_value.get<std::uint64_t>() <= std::numeric_limits<int>::max()
                          : m_value.get<std::int64_t>() >= std::numeric_limits<int>::min();
    if (!fits) refuse("is beyond 32 bits");
    return m_value.get<int>();
}

float JobValue::number() const {
    if (!m_value.is_number()) refuse_type("a number");
    return m_value.get<float>();
}

bool JobValue::boolean() const {
    if (!m_value.is_boolean()) refuse_type("true or false");
    return m_value.get<bool>();
}

bool JobValue::is_array() const {
    return m_value.is_array();
}

bool JobValue::is_string() const {
    return m_value.is_string();
}

std::vector<JobValue> JobValue::elements() const {
    if (!m_value.is_array()) refuse_type("a list");
    std::vector<JobValue> result;
    for (std::size_t i = 0; i < m_value.size(); ++i)
        result.emplace_back(m_value[i], m_path + "[" + std::to_string(i) + "]");
    return result;
}

std::vector<std::pair<std::string, JobValue>> JobValue::members() const {
    if (!m_value.is_object()) refuse_type("an object");
    const std::string prefix = m_path.empty() ? "" : m_path + ".";
    std::vector<std::pair<std::string, JobValue>> result;
    for (const auto& [key, value] : m_value.items())
        result.emplace_back(key, JobValue(value, prefix + key));
    return result;
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

}  // namespace corrivane::worker
