#pragma once

#include <span>
#include <string>
#include <string_view>

namespace corrivane::worker {

/// The key of a job file, or empty, that somebody may have meant who wrote one that is unknown. "options.alphaSplit" is
/// the one for "alphaSplit", "Options.alphasplit" and "alpha-split".
std::string nearest_key(std::string_view key);

/// Of several names the one that is nearest, in any case of letters; empty when none is near.
std::string nearest_name(std::string_view name, std::span<const std::string> names);

/// "; did you mean "camera"?", or nothing for no name.
std::string did_you_mean(const std::string& name);

}  // namespace corrivane::worker
