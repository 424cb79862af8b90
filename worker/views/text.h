#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// Numbers, times and names as people read them.
namespace corrivane::worker {

/// "1 frame", "2 frames".
std::string counted(std::size_t count, const std::string& noun);

/// Minutes and seconds as 0:07 or 12:34, hours before them where there are any.
std::string format_duration(std::chrono::milliseconds duration);

/// Seconds with two decimals and the unit.
std::string format_seconds(std::chrono::milliseconds duration);

/// "512 bytes", "1.5 MiB".
std::string format_bytes(std::uint64_t bytes);

/// The time of day here, to the second.
std::string clock_time(std::chrono::system_clock::time_point time);

/// ISO 8601 in UTC, to the millisecond: 2026-11-23T14:30:05.120Z.
std::string utc_time(std::chrono::system_clock::time_point time);

/// Frames as a list that `--frames` takes, runs put together: 1-3,5,8-10.
std::string frame_ranges(const std::vector<int>& frames);

/// The first `columns` characters of a line of UTF-8.
std::string cut(const std::string& line, std::size_t columns);

}  // namespace corrivane::worker
