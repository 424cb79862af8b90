#include "scene/external_files.h"

#include "scene/limits.h"

#include <charconv>
#include <fstream>
#include <system_error>

namespace corrivane::host {

namespace {

namespace fs = std::filesystem;

std::string percent_decoded(const std::string& uri) {
    std::string text;
    for (std::size_t i = 0; i < uri.size(); ++i) {
        unsigned char byte = 0;
        const char* digits = uri.data() + i + 1;
        if (uri[i] == '%' && i + 2 < uri.size() &&
            std::from_chars(digits, digits + 2, byte, 16).ptr == digits + 2) {
            text += static_cast<char>(byte);
            i += 2;
        } else {
            text += uri[i];
        }
    }
    return text;
}

/// tinygltf tries "a.bin" and then "./a.bin"; both are one file.
std::string plain(const std::string& name) {
    return fs::path(name).lexically_normal().generic_string();
}

}  // namespace

std::optional<std::vector<unsigned char>> read_file(const fs::path& file, std::string& why) {
    std::error_code error;
    const fs::file_status status = fs::status(file, error);
    if (!fs::is_regular_file(status)) {
        why = fs::exists(status) ? "not a regular file" : "not there";
        return std::nullopt;
    }
    const std::uintmax_t size = fs::file_size(file, error);
    if (!error && size > limits::file_bytes) {
        why = "larger than 2 GB";
        return std::nullopt;
    }
    std::ifstream stream(file, std::ios::binary);
    std::vector<unsigned char> bytes(error ? 0 : size);
    stream.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    if (error || !stream) {
        why = "cannot be read";
        return std::nullopt;
    }
    return bytes;
}

tinygltf::FsCallbacks ExternalFiles::callbacks() {
    tinygltf::FsCallbacks callbacks{};
    callbacks.user_data = this;
    // The library's own callback would expand shell patterns in the name.
    callbacks.ExpandFilePath = [](const std::string& name, void*) { return name; };
    callbacks.FileExists = [](const std::string& name, void* self) {
        return static_cast<ExternalFiles*>(self)->is_there(name);
    };
    callbacks.ReadWholeFile = [](std::vector<unsigned char>* bytes, std::string* why, const std::string& name,
                                 void* self) {
        return static_cast<ExternalFiles*>(self)->read(name, *bytes, *why);
    };
    return callbacks;
}

void ExternalFiles::add_stand_in(const std::string& uri, std::uint64_t size) {
    const std::string name = percent_decoded(uri);
    const auto path = locate(name);
    std::error_code error;
    if (path && fs::is_regular_file(*path, error)) return;
    m_context.take_decoded(size, 1, uri);
    m_stand_ins[plain(name)] = size;
}

bool ExternalFiles::is_stand_in(const std::string& uri) const {
    return !m_stand_ins.empty() && m_stand_ins.count(plain(percent_decoded(uri))) != 0;
}

std::optional<fs::path> ExternalFiles::locate(const std::string& name) const {
    const fs::path path(name);
    if (path.is_absolute() || name.find("://") != std::string::npos) return std::nullopt;
    return m_context.file().parent_path() / path;
}

bool ExternalFiles::is_there(const std::string& name) {
    const auto path = locate(name);
    std::error_code error;
    if (path && fs::is_regular_file(*path, error)) return true;
    const std::string known_as = plain(name);
    if (m_stand_ins.count(known_as) != 0) return true;
    m_missing[known_as] = "not there";
    return false;
}

bool ExternalFiles::read(const std::string& name, std::vector<unsigned char>& bytes, std::string& why) {
    const std::string known_as = plain(name);
    if (const auto stand_in = m_stand_ins.find(known_as); stand_in != m_stand_ins.end()) {
        bytes.assign(stand_in->second, 0);
        return true;
    }
    const auto path = locate(name);
    auto content = path ? read_file(*path, why) : std::nullopt;
    if (!content) {
        m_missing[known_as] = why;
        return false;
    }
    m_context.note_read(content->size());
    bytes = std::move(*content);
    return true;
}

}  // namespace corrivane::host
