#pragma once

#include "worker/job/job.h"

#include <optional>
#include <string>
#include <string_view>

namespace corrivane::worker {

/// The answer to a request for a value (GETJOBINFOENTRY and the others that read the job's information):
/// "SUCCESS: " and the value, or an error that says what is not there. Nothing for a message that is no
/// such request.
std::optional<std::string> answer_value_request(std::string_view message, const Job& job);

/// The percentage of a PROGRESS request's argument, within 0 to 100; -1 when it is not known or makes
/// no sense.
double parse_progress(std::string_view argument);

}  // namespace corrivane::worker
