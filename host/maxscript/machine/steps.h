#pragma once

#include <cstdint>

namespace corrivane::host {

/// Ends a script with an error after this many steps (calls and rounds of loops), counted over all scripts
/// from now on; 0, the default, for no limit. Such an error cannot be caught by script.
void set_step_limit(std::uint64_t steps);

/// Counts one step of script; throws once the limit has been reached.
void count_step();

}  // namespace corrivane::host
