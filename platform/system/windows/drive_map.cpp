#include <system/drive_map.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <system_error>

namespace {

bool is_separator(char character) {
    return character == '\\' || character == '/';
}

bool windows_can_store(std::string_view name) {
    for (const char character : name) {
        if (static_cast<unsigned char>(character) < 32) return false;
        if (std::strchr("<>:\"|?*", character) != nullptr) return false;
    }
    return name.back() != ' ' && name.back() != '.';
}

/// Takes the next name off the path, with the separators around it; empty at the end.
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

/// The system would resolve dots itself, but also take names that it could not store for others.
DWORD append_below_root(std::string_view path, NativePath& native) {
    native.root = native.path;
    const bool ends_in_separator = !path.empty() && is_separator(path.back());
    for (std::string_view name = take_name(path); !name.empty(); name = take_name(path)) {
        if (name == ".") continue;
        if (name == "..") {
            native.path.erase(std::max(native.root.size(), native.path.rfind('/')));
            continue;
        }
        if (!windows_can_store(name)) return ERROR_INVALID_NAME;
        if (native.path.back() != '/') native.path += '/';
        native.path += name;
    }
    if (ends_in_separator && native.path.back() != '/') native.path += '/';
    return ERROR_SUCCESS;
}

DWORD resolve_on_drive(std::string_view path, NativePath& native) {
    native.path = std::string(path.substr(0, 2)) + "/";
    if (GetDriveTypeA(native.path.c_str()) == DRIVE_NO_ROOT_DIR) return ERROR_PATH_NOT_FOUND;
    return append_below_root(path.substr(2), native);
}

DWORD resolve_on_share(std::string_view path, NativePath& native) {
    if (is_separator(path[2])) return ERROR_BAD_NETPATH;  // a third separator: the server has no name
    native.path = "/";
    for (int part = 0; part < 2; ++part) {  // server, share
        const std::string_view name = take_name(path);
        if (name.empty() || name == "." || name == "..") return ERROR_BAD_NETPATH;
        if (!windows_can_store(name)) return ERROR_INVALID_NAME;
        native.path.append("/").append(name);
    }
    return append_below_root(path, native);
}

DWORD resolve(std::string_view path, NativePath& native) {
    if (path.empty()) return ERROR_PATH_NOT_FOUND;
    if (path.size() > 2 && is_separator(path[0]) && is_separator(path[1]))
        return resolve_on_share(path, native);
    if (path.size() > 1 && path[1] == ':') return resolve_on_drive(path, native);
    if (path.find('\0') != std::string_view::npos) return ERROR_INVALID_NAME;
    native.path = path;
    std::replace(native.path.begin(), native.path.end(), '\\', '/');
    return ERROR_SUCCESS;
}

}  // namespace

bool drives_are_mapped() {
    return false;
}

void map_drive(char letter, const std::string& folder) {
    throw std::invalid_argument(std::string("no folder can stand for drive ") + letter +
                                " on Windows, which has drives of its own: " + folder);
}

void map_network(const std::string& folder) {
    throw std::invalid_argument("no folder can stand for the network on Windows, which has one of its own: " +
                                folder);
}

void map_folder_of_drive(char letter, const std::string& names, const std::string& folder) {
    throw std::invalid_argument("no folder can stand for " + (letter + (":\\" + names)) +
                                " on Windows, which has drives of its own: " + folder);
}

void clear_drive_map() {}

NativePath native_path(std::string_view windows_path) {
    NativePath native;
    native.error = resolve(windows_path, native);
    if (native.error == ERROR_SUCCESS && native.path.size() >= MAX_PATH)
        native.error = ERROR_FILENAME_EXCED_RANGE;
    if (native.error != ERROR_SUCCESS) return {{}, native.error};
    return native;
}

NativePath native_output_path(std::string_view windows_path) {
    NativePath native = native_path(windows_path);
    std::error_code ignored;
    if (native.root.starts_with("//") && (native.path.size() <= native.root.size() + 1 ||
                                          !std::filesystem::is_directory(native.root, ignored)))
        return {{}, ERROR_BAD_NETPATH};
    return native;
}
