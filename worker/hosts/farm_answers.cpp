#include "worker/hosts/farm_answers.h"

#include "net/farm_protocol.h"

#include <algorithm>
#include <charconv>

namespace corrivane::worker {
namespace {

using Value = std::optional<std::string>;

std::optional<std::size_t> parse_index(std::string_view text) {
    std::size_t index = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), index);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return index;
}

Value element_at(const std::vector<std::string>& elements, std::string_view index_text) {
    const auto index = parse_index(index_text);
    if (!index || *index >= elements.size()) return std::nullopt;
    return elements[*index];
}

const std::vector<std::string>* find_submit_entry(const Job& job, std::string_view key) {
    const auto entry = job.submit_info.find(std::string(key));
    return entry == job.submit_info.end() ? nullptr : &entry->second;
}

Value job_info(const Job& job, std::string_view key) {
    const auto entry = job.job_info.find(std::string(key));
    return entry == job.job_info.end() ? Value() : entry->second;
}

Value submit_info(const Job& job, std::string_view key) {
    const auto* elements = find_submit_entry(job, key);
    return elements == nullptr ? Value() : submit_value(*elements);
}

Value submit_element_count(const Job& job, std::string_view key) {
    const auto* elements = find_submit_entry(job, key);
    return elements == nullptr ? Value() : std::to_string(elements->size());
}

/// The argument is the index, a comma and the key, which may itself hold commas.
Value submit_element(const Job& job, std::string_view argument) {
    const auto comma = argument.find(',');
    if (comma == std::string_view::npos) return std::nullopt;
    const auto* elements = find_submit_entry(job, argument.substr(comma + 1));
    return elements == nullptr ? Value() : element_at(*elements, argument.substr(0, comma));
}

Value aux_file(const Job& job, std::string_view index) {
    return element_at(job.aux_files, index);
}

struct ValueRequest {
    std::string_view prefix;
    Value (*find)(const Job&, std::string_view argument);
};

constexpr ValueRequest value_requests[] = {
    {request::get_job_info_entry, job_info},
    {request::get_submit_info_entry, submit_info},
    {request::get_submit_info_entry_element_count, submit_element_count},
    {request::get_submit_info_entry_element, submit_element},
    {request::get_aux_file, aux_file},
};

}  // namespace

std::optional<std::string> answer_value_request(std::string_view message, const Job& job) {
    const auto request =
        std::find_if(std::begin(value_requests), std::end(value_requests),
                     [&](const ValueRequest& known) { return message.starts_with(known.prefix); });
    if (request == std::end(value_requests)) return std::nullopt;
    const std::string_view argument = message.substr(request->prefix.size());
    const Value value = request->find(job, argument);
    if (value) return std::string(reply::success_value) + *value;
    return std::string(reply::error) + "the job has no \"" + std::string(argument.substr(0, 200)) + "\"";
}

double parse_progress(std::string_view argument) {
    double percent = 0;
    const auto [end, error] = std::from_chars(argument.data(), argument.data() + argument.size(), percent);
    const bool valid = error == std::errc() && end == argument.data() + argument.size() && percent >= 0;
    return valid ? std::min(percent, 100.0) : -1;
}

}  // namespace corrivane::worker
