#include "support/filename_utilities.h"

#include <boost/filesystem/exception.hpp>

#include <algorithm>
#include <string_view>

namespace {

bool is_windows_name(std::string_view name) {
    if (name.empty()) return false;
    if (name == "." || name == "..") return true;
    const auto forbidden = [](char c) {
        return (c >= 1 && c <= 31) || std::string_view("<>:\"/\\|").find(c) != std::string_view::npos;
    };
    return std::none_of(name.begin(), name.end(), forbidden) && name.back() != ' ' && name.back() != '.';
}

bool is_portable_name(std::string_view name) {
    if (name.empty() || name == "." || name == "..") return true;
    constexpr std::string_view portable = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._-";
    return is_windows_name(name) && name.find_first_not_of(portable) == std::string_view::npos &&
           name.front() != '.' && name.front() != '-';
}

[[noreturn]] void refuse_name(std::string_view name, const std::string& path) {
    throw boost::filesystem::filesystem_error(
        "invalid name \"" + std::string(name) + "\" in path: \"" + path + "\"",
        boost::system::errc::make_error_code(boost::system::errc::invalid_argument));
}

/// The length of the drive, device or share in front; 0 without one. Separators are forward slashes.
std::size_t root_name_length(const std::string& path) {
    if (path.size() > 1 && (path[1] == ':' || path.back() == ':')) return path.find(':') + 1;
    if (path.starts_with("//")) return std::min(path.find('/', 2), path.size());
    return 0;
}

void append_element(std::string& path, std::string_view element) {
    if (!path.empty() && path.back() != '/' && path.back() != ':') path += '/';
    path += element;
}

std::string to_backslashes(std::string path) {
    std::replace(path.begin(), path.end(), '/', '\\');
    return path;
}

parsed_path parse_windows_path(const std::string& path) {
    return {normalize_path(path), name_rule::windows};
}

}  // namespace

parsed_path::parsed_path(const std::string& path, name_rule rule) {
    std::string source = path;
    std::replace(source.begin(), source.end(), '\\', '/');

    std::size_t position = root_name_length(source);
    m_text = source.substr(0, position);
    if (position < source.size() && source[position] == '/') {
        m_text += '/';
        ++position;
    }
    while (position < source.size()) {
        const std::size_t end = std::min(source.find('/', position), source.size());
        const std::string_view element(source.data() + position, end - position);
        const bool valid = !element.empty() && (rule == name_rule::windows ? is_windows_name(element)
                                                                           : is_portable_name(element));
        if (!valid) refuse_name(element, path);
        if (element != ".") append_element(m_text, element);
        position = end + 1;
    }
    if (m_text.empty() && !source.empty()) m_text = ".";
}

std::size_t parsed_path::final_element_start() const {
    if (m_text.empty()) return 0;
    const std::size_t slash = m_text.rfind('/');
    if (slash == m_text.size() - 1) return slash;
    if (slash == std::string::npos) {
        const std::size_t colon =
            m_text.size() < 2 ? std::string::npos : m_text.rfind(':', m_text.size() - 2);
        return colon == std::string::npos ? 0 : colon + 1;
    }
    const bool bare_share = slash == 1 && m_text[0] == '/';
    return bare_share ? 0 : slash + 1;
}

std::string parsed_path::final_element() const {
    return m_text.substr(final_element_start());
}

std::string parsed_path::parent() const {
    std::string before = m_text.substr(0, final_element_start());
    if (before.empty() || before.back() != '/') return before;
    const bool root = before == "/";
    const bool drive_root =
        before.size() > 1 && before.find('/') == before.size() - 1 && before[before.size() - 2] == ':';
    const bool share_root =
        before.size() > 2 && before.starts_with("//") && before.find('/', 2) == before.size() - 1;
    if (!root && !drive_root && !share_root) before.pop_back();
    return before;
}

std::string replace_all(std::string text, const std::string& from, const std::string& to) {
    for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
    return text;
}

std::string normalize_path(std::string path) {
    path = to_backslashes(std::move(path));
    // A network path's second backslash is no repetition: another letter stands in for it meanwhile.
    const bool network = path.starts_with("\\\\");
    if (network) path[1] = 'X';
    path = replace_all(std::move(path), "\\\\", "\\");
    if (network) path[1] = '\\';
    return path;
}

std::string ensure_trailing_backslash(std::string directory) {
    if (!directory.empty() && directory.back() != '\\') directory += '\\';
    return directory;
}

std::string get_directory_from_path(const std::string& path) {
    return to_backslashes(parse_windows_path(path).parent());
}

std::string get_filename_from_path(const std::string& path) {
    return parse_windows_path(path).final_element();
}

std::string get_filename_without_extension(const parsed_path& path) {
    const std::string element = path.final_element();
    return element.substr(0, element.rfind('.'));
}

std::string replace_extension(const std::string& path, const std::string& extension) {
    const parsed_path parsed = parse_windows_path(path);
    const parsed_path renamed(get_filename_without_extension(parsed) + extension, name_rule::portable);
    std::string joined = parsed.parent();
    append_element(joined, renamed.text());
    return to_backslashes(joined);
}
