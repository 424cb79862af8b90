#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

namespace corrivane::worker {

/// No job has more frames than this, so that a slip of the hand ("1-10000000") is an error and not a
/// full memory.
inline constexpr std::size_t max_frames = 100000;

/// The frames that a text names, in the order in which they are named: a comma list of
///
///     7        one frame
///     1-48     a range, both ends included; 48-1 runs downwards
///     1-48x5   every fifth frame of a range, beginning with its first
///
/// Numbers may be negative (-5--1) and are 32 bits wide; blanks around an item are skipped. A frame that is
/// named twice is listed once, where it was named first. Throws std::invalid_argument that names the item at
/// fault, also for an empty list and for more than max_frames frames.
std::vector<int> parse_frame_list(std::string_view text);

}  // namespace corrivane::worker
