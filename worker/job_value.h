#pragma once

#include <nlohmann/json_fwd.hpp>

#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace corrivane::worker {

/// What is wrong with a job file: the file, the key and the reason.
class JobFileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// One value of a job file and the way to it, such as options.region.left. Every reader below throws
/// JobFileError, which begins with that way, for a value of another type. Refers to the document.
class JobValue {
public:
    JobValue(const nlohmann::json& value, std::string path) : m_value(value), m_path(std::move(path)) {}

    /// Empty for the document itself.
    const std::string& path() const { return m_path; }

    [[noreturn]] void refuse(const std::string& reason) const;

    /// Holds no NUL character.
    std::string text() const;
    /// A text, or a number or boolean as JSON writes it.
    std::string scalar() const;
    int integer() const;
    float number() const;
    bool boolean() const;

    bool is_array() const;
    bool is_string() const;
    std::vector<JobValue> elements() const;
    std::vector<std::pair<std::string, JobValue>> members() const;

private:
    [[noreturn]] void refuse_type(const std::string& expected) const;

    const nlohmann::json& m_value;
    std::string m_path;
};

/// Parses JSON text. Throws JobFileError for what is no JSON, and for an object with one key twice.
nlohmann::json parse_json(std::string_view text);

}  // namespace corrivane::worker
