#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace corrivane::json {

/// A text from a file as messages quote it: one line, at most `most` bytes of it, and "…" where there was more.
/// Control characters become "?"; no UTF-8 character is cut in two.
std::string shortened(std::string_view text, std::size_t most = 60);

}  // namespace corrivane::json
