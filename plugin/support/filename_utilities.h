#pragma once

#include <string>

/// Windows file names as texts: the backslash is the separator whatever the system, and nothing here touches
/// a disk.

/// Which names a path may be made of.
enum class name_rule {
    windows,   ///< what Windows can store
    portable,  ///< the POSIX portable character set besides, and no dot or hyphen in front
};

/// A path that was split into root name, root separator and elements, checked, and put together again with
/// single forward slashes. "." elements are gone, ".." elements stay.
class parsed_path {
public:
    /// Throws boost::filesystem::filesystem_error naming the element that breaks the rule and the whole path.
    parsed_path(const std::string& path, name_rule rule);

    const std::string& text() const { return m_text; }
    /// What comes after the last slash; that slash itself for a root.
    std::string final_element() const;
    /// The text before the final element, without its trailing slash unless it is a root.
    std::string parent() const;

private:
    std::size_t final_element_start() const;

    std::string m_text;
};

/// The text with every occurrence of `from`, which is not empty, replaced; what was put in is not
/// searched again.
std::string replace_all(std::string text, const std::string& from, const std::string& to);

/// The canonical form: single backslashes, and two in front of a network path.
std::string normalize_path(std::string path);

/// The directory with a backslash at its end; "" stays "".
std::string ensure_trailing_backslash(std::string directory);

/// The three below normalize and parse their path by the Windows rule first and throw as parsed_path does.

/// The parent directory in backslash form, "" if there is none. A drive root keeps its backslash.
std::string get_directory_from_path(const std::string& path);
/// The final element; a forward slash for a root.
std::string get_filename_from_path(const std::string& path);
/// The path with its final element's extension replaced; `extension` includes the dot. The new element must
/// obey the portable rule.
std::string replace_extension(const std::string& path, const std::string& extension);

/// The final element without what follows its last dot.
std::string get_filename_without_extension(const parsed_path& path);
