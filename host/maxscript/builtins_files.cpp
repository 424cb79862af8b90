#include "maxscript/builtins.h"
#include "maxscript/errors.h"
#include "maxscript/file_access.h"
#include "maxscript/parser.h"
#include "maxscript/runtime.h"
#include "maxscript/values.h"

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

CharStream& stream_argument(const Arguments& arguments) {
    arguments.require(1);
    auto* stream = dynamic_cast<CharStream*>(arguments[0]);
    if (stream == nullptr) raise_no_function(arguments.function(), arguments[0]);
    return *stream;
}

Value* open_stream(const std::string& name, const std::string& mode) {
    check_file_access();
    auto* stream = new FileStream;
    return stream->open(name.c_str(), mode.c_str()) == nullptr ? &undefined : static_cast<Value*>(stream);
}

/// `openFile name mode:"r"`; undefined when the file cannot be opened.
Value* open_file(Arguments& arguments) {
    arguments.require(1);
    Value* mode = arguments.keyword("mode");
    return open_stream(arguments.text(0), mode == nullptr ? "r" : to_text(mode));
}

Value* create_file(Arguments& arguments) {
    arguments.require(1);
    return open_stream(arguments.text(0), "w");
}

Value* read_line(Arguments& arguments) {
    CharStream& stream = stream_argument(arguments);
    if (stream.at_eos()) raise_runtime_error("Read beyond end of file: " + excerpt(&stream));
    std::string line;
    int character = stream.get_char();
    for (; character >= 0 && character != '\n'; character = stream.get_char())
        line += static_cast<char>(character);
    if (!line.empty() && line.back() == '\r') line.pop_back();
    return make_string(line);
}

Value* at_end(Arguments& arguments) {
    return make_boolean(stream_argument(arguments).at_eos());
}

Value* close_stream(Arguments& arguments) {
    stream_argument(arguments).close();
    return &ok;
}

/// Runs a script file; its value is the last expression's.
Value* file_in(Arguments& arguments) {
    arguments.require(1);
    check_file_access();
    const std::string name = arguments.text(0);
    auto* stream = new FileStream;
    const Rooted root(stream);
    stream->open(name.c_str(), "r");
    const Rooted result(run_stream(*stream));
    stream->close();
    return result.get() != nullptr ? result.get() : &ok;
}

Value* does_file_exist(Arguments& arguments) {
    arguments.require(1);
    check_file_access();
    const std::string path = machine_path(arguments.text(0));
    std::error_code error;
    return make_boolean(!path.empty() && fs::exists(path, error));
}

/// The names in a folder that match `C:\folder\*.png`, as Windows paths in alphabetical order.
template <bool Folders>
Value* list_folder(Arguments& arguments) {
    arguments.require(1);
    check_file_access();
    const auto [folder, pattern] = split_path(arguments.text(0));
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
    return make_array(found);
}

Value* make_folder(Arguments& arguments) {
    arguments.require(1);
    check_file_access();
    const std::string path = machine_path(arguments.text(0));
    std::error_code error;
    if (path.empty()) return &false_value;
    fs::create_directories(path, error);
    return make_boolean(fs::is_directory(path, error));
}

Value* delete_file(Arguments& arguments) {
    arguments.require(1);
    check_file_access();
    const std::string path = machine_path(arguments.text(0));
    std::error_code error;
    return make_boolean(!path.empty() && !fs::is_directory(path, error) && fs::remove(path, error));
}

using PathPart = std::string (*)(const std::string& path);

void define_path_function(const char* function_name, PathPart part) {
    define_function(function_name, [part](Arguments& arguments) {
        arguments.require(1);
        return make_string(part(arguments.text(0)));
    });
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
    define_function("openFile", open_file);
    define_function("createFile", create_file);
    define_function("readLine", read_line);
    define_function("eof", at_end);
    define_function("close", close_stream);
    define_function("fileIn", file_in);
    define_function("doesFileExist", does_file_exist);
    define_function("getFiles", list_folder<false>);
    define_function("getDirectories", list_folder<true>);
    define_function("makeDir", make_folder);
    define_function("deleteFile", delete_file);
    define_path_function("getFilenamePath", folder_of);
    define_path_function("filenameFromPath", name_of);
    define_path_function("getFilenameFile", stem_of);
    define_path_function("getFilenameType", type_of);
}

}  // namespace corrivane::host
