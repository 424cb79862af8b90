#include "system/posix/mapped_path.h"

#include <system/drive_map.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <system_error>

namespace system_detail {

namespace {

struct DriveMap {
    std::array<std::string, 26> drives;
    std::string network;
    int own_drive = -1;  // that has a folder which lies elsewhere
    std::string own_names;
    std::string own_folder;
};

DriveMap& drive_map() {
    static DriveMap map;
    return map;
}

bool is_separator(char character) {
    return character == '\\' || character == '/';
}

// 0 to 25, or -1 for what is no drive letter.
int drive_index(char letter) {
    if (letter >= 'a' && letter <= 'z') return letter - 'a';
    if (letter >= 'A' && letter <= 'Z') return letter - 'A';
    return -1;
}

bool windows_can_store(std::string_view name) {
    for (const char character : name) {
        if (static_cast<unsigned char>(character) < 32) return false;
        if (std::strchr("<>:\"|?*", character) != nullptr) return false;
    }
    return name.back() != ' ' && name.back() != '.';
}

// Takes the next name off the path, with the separators around it; empty at the end.
std::string_view take_name(std::string_view& path) {
    while (!path.empty() && is_separator(path.front()))
        path.remove_prefix(1);
    std::size_t length = 0;
    while (length < path.size() && !is_separator(path[length]))
        ++length;
    const std::string_view name = path.substr(0, length);
    path.remove_prefix(length);
    return name;
}

void drop_last_name(MappedPath& mapped) {
    while (mapped.length > mapped.root_length && mapped.text[mapped.length - 1] != '/')
        --mapped.length;
    if (mapped.length > mapped.root_length) --mapped.length;  // the separator
    mapped.text[mapped.length] = '\0';
}

DWORD append_below_root(std::string_view path, MappedPath& mapped) {
    mapped.root_length = mapped.length;
    const bool ends_in_separator = !path.empty() && is_separator(path.back());
    for (std::string_view name = take_name(path); !name.empty(); name = take_name(path)) {
        if (name == ".") continue;
        if (name == "..") {
            drop_last_name(mapped);
            continue;
        }
        if (!windows_can_store(name)) return ERROR_INVALID_NAME;
        if (!mapped.append_name(name)) return ERROR_FILENAME_EXCED_RANGE;
    }
    if (ends_in_separator && !mapped.is_root() && !mapped.append("/")) return ERROR_FILENAME_EXCED_RANGE;
    return ERROR_SUCCESS;
}

char lower(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

bool same_name(std::string_view left, std::string_view right) {
    return left.size() == right.size() && std::equal(left.begin(), left.end(), right.begin(),
                                                     [](char a, char b) { return lower(a) == lower(b); });
}

// Takes the names of the folder that lies elsewhere off the path; false where the path leads past it.
bool take_own_folder(int drive, std::string_view& path) {
    if (drive != drive_map().own_drive) return false;
    std::string_view left = path;
    std::string_view names = drive_map().own_names;
    for (std::string_view name = take_name(names); !name.empty(); name = take_name(names))
        if (!same_name(take_name(left), name)) return false;
    path = left;
    return true;
}

DWORD map_drive_path(int drive, std::string_view path, MappedPath& mapped) {
    const std::string& folder = drive_map().drives[static_cast<std::size_t>(drive)];
    if (folder.empty()) return ERROR_PATH_NOT_FOUND;
    mapped.root = PathRoot::Drive;
    const std::string& root = take_own_folder(drive, path) ? drive_map().own_folder : folder;
    if (!mapped.append(root)) return ERROR_FILENAME_EXCED_RANGE;
    return append_below_root(path, mapped);
}

DWORD map_network_path(std::string_view path, MappedPath& mapped) {
    const std::string& folder = drive_map().network;
    if (folder.empty()) return ERROR_BAD_NETPATH;
    mapped.root = PathRoot::Share;
    if (!mapped.append(folder)) return ERROR_FILENAME_EXCED_RANGE;
    if (is_separator(path.front())) return ERROR_BAD_NETPATH;  // a third separator: the server has no name
    for (int part = 0; part < 2; ++part) {                     // server, share
        const std::string_view name = take_name(path);
        if (name.empty() || name == "." || name == "..") return ERROR_BAD_NETPATH;
        if (!windows_can_store(name)) return ERROR_INVALID_NAME;
        if (!mapped.append_name(name)) return ERROR_FILENAME_EXCED_RANGE;
    }
    return append_below_root(path, mapped);
}

DWORD copy_native_path(std::string_view path, MappedPath& mapped) {
    if (path.find('\0') != std::string_view::npos) return ERROR_INVALID_NAME;
    if (!mapped.append(path)) return ERROR_FILENAME_EXCED_RANGE;
    for (std::size_t i = 0; i < mapped.length; ++i)
        if (mapped.text[i] == '\\') mapped.text[i] = '/';
    return ERROR_SUCCESS;
}

std::string without_trailing_separators(std::string folder) {
    while (folder.size() > 1 && folder.back() == '/')
        folder.pop_back();
    return folder;
}

}  // namespace

bool MappedPath::append(std::string_view more) {
    if (more.size() >= sizeof(text) - length) return false;
    std::memcpy(text + length, more.data(), more.size());
    length += more.size();
    text[length] = '\0';
    return true;
}

bool MappedPath::append_name(std::string_view name) {
    return (ends_in_separator() || append("/")) && append(name);
}

DWORD map_path(std::string_view windows_path, MappedPath& mapped) {
    mapped.text[0] = '\0';
    if (windows_path.empty()) return ERROR_PATH_NOT_FOUND;
    if (windows_path.size() > 2 && is_separator(windows_path[0]) && is_separator(windows_path[1]))
        return map_network_path(windows_path.substr(2), mapped);
    if (windows_path.size() > 1 && windows_path[1] == ':' && drive_index(windows_path[0]) >= 0)
        return map_drive_path(drive_index(windows_path[0]), windows_path.substr(2), mapped);
    return copy_native_path(windows_path, mapped);
}

}  // namespace system_detail

using system_detail::drive_index;
using system_detail::drive_map;
using system_detail::MappedPath;
using system_detail::PathRoot;

namespace {

NativePath native(const MappedPath& mapped) {
    const std::string_view text(mapped.text, mapped.length);
    return {std::string(text), ERROR_SUCCESS, std::string(text.substr(0, mapped.root_length))};
}

}  // namespace

bool drives_are_mapped() {
    return true;
}

void map_drive(char letter, const std::string& folder) {
    const int drive = drive_index(letter);
    if (drive < 0) throw std::invalid_argument(std::string("not a drive letter: \"") + letter + "\"");
    drive_map().drives[static_cast<std::size_t>(drive)] = system_detail::without_trailing_separators(folder);
}

void map_network(const std::string& folder) {
    drive_map().network = system_detail::without_trailing_separators(folder);
}

void map_folder_of_drive(char letter, const std::string& names, const std::string& folder) {
    drive_map().own_drive = drive_index(letter);
    drive_map().own_names = names;
    drive_map().own_folder = system_detail::without_trailing_separators(folder);
}

void clear_drive_map() {
    drive_map() = {};
}

NativePath native_path(std::string_view windows_path) {
    MappedPath mapped;
    const DWORD error = system_detail::map_path(windows_path, mapped);
    if (error != ERROR_SUCCESS) return {{}, error};
    return native(mapped);
}

NativePath native_output_path(std::string_view windows_path) {
    MappedPath mapped;
    const DWORD error = system_detail::map_path(windows_path, mapped);
    if (error != ERROR_SUCCESS) return {{}, error};
    NativePath path = native(mapped);
    std::error_code ignored;
    if (mapped.root == PathRoot::Share &&
        (mapped.is_root() || !std::filesystem::is_directory(path.root, ignored)))
        return {{}, ERROR_BAD_NETPATH};
    return path;
}
