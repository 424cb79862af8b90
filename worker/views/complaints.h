#pragma once

#include <functional>
#include <string>

namespace corrivane::worker {

/// Takes what a view can't do, as a sentence for people: a file that is full ends no job, and is said once.
using Complain = std::function<void(const std::string& problem)>;

}  // namespace corrivane::worker
