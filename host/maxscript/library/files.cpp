#include "maxscript/language/parser.h"
#include "maxscript/library/library.h"
#include "maxscript/library/paths.h"
#include "maxscript/machine/signature.h"
#include "maxscript/streams/file_access.h"

#include <max/maxscript/streams.h>

#include <algorithm>
#include <chrono>
#include <filesystem>

namespace corrivane::host {

namespace {

namespace fs = std::filesystem;

/// This machine's path, for functions that look at files; empty when there is none.
std::string allowed_path(const std::string& name) {
    check_file_access();
    return machine_path(name);
}

/// What stands there; not_found too where there is no such path.
fs::file_type kind_of(const std::string& path) {
    std::error_code error;
    return path.empty() ? fs::file_type::not_found : fs::status(path, error).type();
}

Value* open_stream(const std::string& name, const std::string& mode) {
    check_file_access();
    auto* stream = new FileStream;
    return stream->open(name.c_str(), mode.c_str()) == nullptr ? &undefined : static_cast<Value*>(stream);
}

/// `openFile name mode:"r"`; undefined when the file cannot be opened.
Value* open_file(const std::string& name, const Keyword<"mode", std::string>& mode) {
    return open_stream(name, mode.value_or("r"));
}

Value* create_file(const std::string& name) {
    return open_stream(name, "w");
}

/// Runs a script file; its value is the last expression's.
Value* file_in(const std::string& name, const Keyword<"quiet", bool>&) {
    check_file_access();
    auto* stream = new FileStream;
    const Rooted root(stream);
    stream->open(name.c_str(), "r");
    const Rooted result(run_stream(*stream));
    stream->close();
    return result.get() != nullptr ? result.get() : &ok;
}

bool does_file_exist(const std::string& name, const Keyword<"allowDirectory", bool>&) {
    return kind_of(allowed_path(name)) != fs::file_type::not_found;
}

bool is_directory(const std::string& name) {
    return kind_of(allowed_path(name)) == fs::file_type::directory;
}

/// As its permissions say of its owner.
bool is_writable(const std::string& path) {
    std::error_code error;
    return (fs::status(path, error).permissions() & fs::perms::owner_write) != fs::perms::none;
}

bool is_directory_writable(const std::string& name) {
    const std::string path = allowed_path(name);
    return kind_of(path) == fs::file_type::directory && is_writable(path);
}

/// The names in a folder that match `C:\folder\*.png`, as Windows paths in alphabetical order.
template <bool Folders>
std::vector<std::string> list_folder(const std::string& wanted) {
    const auto [folder, pattern] = split_path(wanted);
    const std::string path = allowed_path(folder.empty() ? "." : folder);
    std::vector<std::string> found;
    std::error_code error;
    for (fs::directory_iterator entry(path, error), end; !error && entry != end; entry.increment(error)) {
        const std::string name = entry->path().filename().string();
        std::error_code ignored;
        if (entry->is_directory(ignored) == Folders && matches_pattern(lower_case(name), lower_case(pattern)))
            found.push_back(folder + name + (Folders ? "\\" : ""));
    }
    std::sort(found.begin(), found.end());
    return found;
}

/// `makeDir name all:true`: false where the folder above is not there, unless all of them are to be made.
bool make_folder(const std::string& name, const Keyword<"all", bool>& all) {
    const std::string path = allowed_path(name);
    std::error_code error;
    if (path.empty()) return false;
    if (all.value_or(true)) {
        fs::create_directories(path, error);
    } else {
        fs::create_directory(path, error);
    }
    return fs::is_directory(path, error);
}

bool remove_folder(const std::string& name) {
    const std::string path = allowed_path(name);
    std::error_code error;
    return kind_of(path) == fs::file_type::directory && fs::remove(path, error);
}

bool delete_file(const std::string& name) {
    const std::string path = allowed_path(name);
    std::error_code error;
    return !path.empty() && !fs::is_directory(path, error) && fs::remove(path, error);
}

/// False when there is a file already, or none to copy.
bool copy_file(const std::string& from, const std::string& to) {
    const std::string source = allowed_path(from);
    const std::string target = machine_path(to);
    std::error_code error;
    return kind_of(source) == fs::file_type::regular && kind_of(target) == fs::file_type::not_found &&
           fs::copy_file(source, target, error);
}

bool rename_file(const std::string& from, const std::string& to) {
    const std::string source = allowed_path(from);
    const std::string target = machine_path(to);
    std::error_code error;
    if (kind_of(source) == fs::file_type::not_found || target.empty()) return false;
    if (kind_of(target) != fs::file_type::not_found) return false;
    fs::rename(source, target, error);
    return !error;
}

/// 0 for what is not there.
int file_size(const std::string& name) {
    const std::string path = allowed_path(name);
    std::error_code error;
    if (kind_of(path) != fs::file_type::regular) return 0;
    return static_cast<int>(std::min<std::uintmax_t>(fs::file_size(path, error), INT32_MAX));
}

std::string file_date(const std::string& name) {
    const std::string path = allowed_path(name);
    if (kind_of(path) == fs::file_type::not_found) return {};
    std::error_code error;
    const auto written = std::chrono::file_clock::to_sys(fs::last_write_time(path, error));
    return date_text(std::chrono::system_clock::to_time_t(
        std::chrono::time_point_cast<std::chrono::system_clock::duration>(written)));
}

/// `getFileAttribute name #readOnly`.
bool file_attribute(const std::string& name, const NameValue& attribute) {
    const std::string path = allowed_path(name);
    const fs::file_type kind = kind_of(path);
    if (attribute.key() == "readonly") return kind != fs::file_type::not_found && !is_writable(path);
    if (attribute.key() == "directory") return kind == fs::file_type::directory;
    if (attribute.key() == "normal") return kind == fs::file_type::regular;
    if (attribute.key() == "hidden") return split_path(name).second.starts_with('.');
    raise_absent("file attribute #" + attribute.text());
}

bool set_file_attribute(const std::string& name, const NameValue& attribute, bool read_only) {
    if (attribute.key() != "readonly") raise_absent("file attribute #" + attribute.text());
    constexpr auto write = fs::perms::owner_write;
    std::error_code error;
    fs::permissions(allowed_path(name), write, read_only ? fs::perm_options::remove : fs::perm_options::add,
                    error);
    return !error;
}

}  // namespace

void define_file_functions() {
    define_functions({
        {"openFile", open_file},
        {"createFile", create_file},
        {"fileIn", file_in},
        {"doesFileExist", does_file_exist},
        {"isDirectory", is_directory},
        {"isDirectoryWriteable", is_directory_writable},
        {"getFiles", list_folder<false>},
        {"getDirectories", list_folder<true>},
        {"makeDir", make_folder},
        {"removeDir", remove_folder},
        {"deleteFile", delete_file},
        {"copyFile", copy_file},
        {"renameFile", rename_file},
        {"getFileSize", file_size},
        {"getFileModDate", file_date},
        {"getFileCreateDate", file_date},
        {"getFileAttribute", file_attribute},
        {"setFileAttribute", set_file_attribute},
    });
}

}  // namespace corrivane::host
