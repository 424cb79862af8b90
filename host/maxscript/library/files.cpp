#include "maxscript/language/parser.h"
#include "maxscript/library/library.h"
#include "maxscript/machine/signature.h"
#include "maxscript/streams/file_access.h"

#include <max/maxscript/streams.h>

#include <algorithm>
#include <filesystem>

namespace corrivane::host {

namespace {

namespace fs = std::filesystem;

/// A Windows path in two: up to the last separator, and what is behind it.
std::pair<std::string, std::string> split_path(const std::string& path) {
    const std::size_t separator = path.find_last_of("\\/:");
    if (separator == std::string::npos) return {"", path};
    return {path.substr(0, separator + 1), path.substr(separator + 1)};
}

/// Where a name's type, ".png", begins; its end when it has none.
std::size_t type_start(const std::string& name) {
    return std::min(name.rfind('.'), name.size());
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

std::string read_line(CharStream& stream) {
    if (stream.at_eos()) raise_runtime_error("Read beyond end of file: " + excerpt(&stream));
    std::string line;
    int character = stream.get_char();
    for (; character >= 0 && character != '\n'; character = stream.get_char())
        line += static_cast<char>(character);
    if (!line.empty() && line.back() == '\r') line.pop_back();
    return line;
}

bool at_end(CharStream& stream) {
    return stream.at_eos();
}

void close_stream(CharStream& stream) {
    stream.close();
}

/// Runs a script file; its value is the last expression's.
Value* file_in(const std::string& name) {
    check_file_access();
    auto* stream = new FileStream;
    const Rooted root(stream);
    stream->open(name.c_str(), "r");
    const Rooted result(run_stream(*stream));
    stream->close();
    return result.get() != nullptr ? result.get() : &ok;
}

bool does_file_exist(const std::string& name) {
    check_file_access();
    const std::string path = machine_path(name);
    std::error_code error;
    return !path.empty() && fs::exists(path, error);
}

/// The names in a folder that match `C:\folder\*.png`, as Windows paths in alphabetical order.
template <bool Folders>
std::vector<std::string> list_folder(const std::string& wanted) {
    check_file_access();
    const auto [folder, pattern] = split_path(wanted);
    const std::string path = machine_path(folder.empty() ? "." : folder);
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

bool make_folder(const std::string& name) {
    check_file_access();
    const std::string path = machine_path(name);
    std::error_code error;
    if (path.empty()) return false;
    fs::create_directories(path, error);
    return fs::is_directory(path, error);
}

bool delete_file(const std::string& name) {
    check_file_access();
    const std::string path = machine_path(name);
    std::error_code error;
    return !path.empty() && !fs::is_directory(path, error) && fs::remove(path, error);
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

}  // namespace

void define_file_functions() {
    define_functions({
        {"openFile", open_file},
        {"createFile", create_file},
        {"readLine", read_line},
        {"eof", at_end},
        {"close", close_stream},
        {"fileIn", file_in},
        {"doesFileExist", does_file_exist},
        {"getFiles", list_folder<false>},
        {"getDirectories", list_folder<true>},
        {"makeDir", make_folder},
        {"deleteFile", delete_file},
        {"getFilenamePath", folder_of},
        {"filenameFromPath", name_of},
        {"getFilenameFile", stem_of},
        {"getFilenameType", type_of},
    });
}

}  // namespace corrivane::host
