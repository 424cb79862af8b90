#pragma once

#include <string>
#include <string_view>
#include <utility>

/// Windows paths as texts.
namespace corrivane::host {

/// In two: up to the last separator, and what is behind it.
std::pair<std::string, std::string> split_path(const std::string& path);

/// With a drive's letter or a server in front.
bool is_absolute_path(std::string_view path);
/// `\\server\share\…`.
bool is_network_path(std::string_view path);

/// A folder and a name below it, with one separator between them.
std::string joined_path(std::string folder, std::string_view name);

}  // namespace corrivane::host
