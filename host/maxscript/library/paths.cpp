#include "maxscript/library/paths.h"

#include "maxscript/library/library.h"
#include "maxscript/machine/signature.h"

#include <algorithm>
#include <cctype>
#include <vector>

namespace corrivane::host {

namespace {

constexpr const char* separators = "\\/";

/// Where a name's type, ".png", begins; its end when it has none.
std::size_t type_start(const std::string& name) {
    return std::min(name.rfind('.'), name.size());
}

std::string folder_of(const std::string& path) {
    return split_path(path).first;
}

std::string name_of(const std::string& path) {
    return split_path(path).second;
}

std::string stem_of(const std::string& path) {
    const std::string name = name_of(path);
    return name.substr(0, type_start(name));
}

std::string type_of(const std::string& path) {
    const std::string name = name_of(path);
    return name.substr(type_start(name));
}

bool has_drive(std::string_view path) {
    return path.size() > 1 && path[1] == ':' && std::isalpha(static_cast<unsigned char>(path[0])) != 0;
}

/// The part that is no name: `C:\`, `\\server\share\`; empty for a relative path.
std::string root_of(const std::string& path) {
    if (has_drive(path)) return path.substr(0, 2) + "\\";
    if (!is_network_path(path)) return {};
    const std::size_t share = path.find_first_of(separators, 2);
    if (share == std::string::npos) return path + "\\";
    return path.substr(0, std::min(path.find_first_of(separators, share + 1), path.size())) + "\\";
}

/// Backslashes only, without `.` and, where there is a name in front of it, `..`.
std::string normalized(const std::string& path) {
    const std::string root = root_of(path);
    std::vector<std::string> names;
    for (std::size_t start = std::min(root.size(), path.size()); start < path.size();) {
        const std::size_t end = std::min(path.find_first_of(separators, start), path.size());
        const std::string name = path.substr(start, end - start);
        start = end + 1;
        if (name == ".." && !names.empty() && names.back() != "..") {
            names.pop_back();
        } else if (!name.empty() && name != "." && !(name == ".." && !root.empty())) {
            names.push_back(name);
        }
    }
    std::string result = root;
    for (std::size_t i = 0; i < names.size(); ++i)
        result += (i > 0 ? "\\" : "") + names[i];
    std::replace(result.begin(), result.end(), '/', '\\');
    return result;
}

std::string without_last_separator(std::string path) {
    if (path.size() > 3 && path.find_last_of(separators) == path.size() - 1) path.pop_back();
    return path;
}

std::string without_leaf(const std::string& path) {
    const std::string folder = folder_of(without_last_separator(path));
    return without_last_separator(folder);
}

std::string leaf_of(const std::string& path) {
    return name_of(without_last_separator(path));
}

bool same_path(const std::string& left, const std::string& right) {
    return lower_case(normalized(left)) == lower_case(normalized(right));
}

bool is_legal_path(const std::string& path) {
    const std::size_t start = root_of(path).size();
    return !path.empty() &&
           (start >= path.size() || path.find_first_of("<>:\"|?*", start) == std::string::npos);
}

}  // namespace

std::pair<std::string, std::string> split_path(const std::string& path) {
    const std::size_t separator = path.find_last_of("\\/:");
    if (separator == std::string::npos) return {"", path};
    return {path.substr(0, separator + 1), path.substr(separator + 1)};
}

bool is_network_path(std::string_view path) {
    return path.size() > 2 && (path.starts_with("\\\\") || path.starts_with("//"));
}

bool is_absolute_path(std::string_view path) {
    return has_drive(path) || is_network_path(path);
}

std::string joined_path(std::string folder, std::string_view name) {
    if (!folder.empty() && folder.find_last_of(separators) != folder.size() - 1) folder += '\\';
    return folder.append(name.substr(std::min(name.find_first_not_of(separators), name.size())));
}

void define_path_functions() {
    define_functions({
        {"getFilenamePath", folder_of},
        {"filenameFromPath", name_of},
        {"getFilenameFile", stem_of},
        {"getFilenameType", type_of},
        {"pathIsNetworkPath", [](const std::string& path) { return is_network_path(path); }},
        {"pathConfig.appendPath",
         [](const std::string& folder, const std::string& name) { return joined_path(folder, name); }},
        {"pathConfig.removePathLeaf", without_leaf},
        {"pathConfig.removePathTopParent",
         [](const std::string& path) {
             return path.substr(std::min(path.find_first_of(separators), path.size() - 1) + 1);
         }},
        {"pathConfig.stripPathToLeaf", leaf_of},
        {"pathConfig.stripPathToTopParent",
         [](const std::string& path) { return path.substr(0, path.find_first_of(separators)); }},
        {"pathConfig.normalizePath", normalized},
        {"pathConfig.pathsResolveEquivalent", same_path},
        {"pathConfig.isAbsolutePath", [](const std::string& path) { return is_absolute_path(path); }},
        {"pathConfig.isRootPath", [](const std::string& path) { return normalized(path) == root_of(path); }},
        {"pathConfig.isUncPath", [](const std::string& path) { return is_network_path(path); }},
        {"pathConfig.isLegalPath", is_legal_path},
    });
}

}  // namespace corrivane::host
