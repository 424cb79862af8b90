#pragma once

#include <cstdint>
#include <string_view>

namespace corrivane::host {

/// Reads `10f`, `2.5s`, `160t`, `1m30s` and `0:10.0` into parts that add up; false when the text is no time.
bool read_time(std::string_view text, double& seconds, double& frames, std::int64_t& ticks);

}  // namespace corrivane::host
