#include "scene/external_files.h"

#include "scene/limits.h"

#include <charconv>
#include <fstream>
#include <system_error>
#include <utility>

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

}  // namespace

bool is_regular_file(const fs::path& file, std::string& why) {
    std::error_code error;
    const fs::file_status status = fs::status(file, error);
    if (fs::is_regular_file(status)) return true;
    why = fs::exists(status) ? "not a regular file" : "not there";
    return false;
}

std::optional<std::vector<unsigned char>> read_file(const fs::path& file, std::string& why) {
    if (!is_regular_file(file, why)) return std::nullopt;
    std::error_code error;
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
    // Always, so that the library asks for one name only and not for "./a.bin" after "a.bin". It never reads
    // a file without a name.
    callbacks.FileExists = [](const std::string& name, void* self) {
        if (name.empty()) static_cast<ExternalFiles*>(self)->note_missing(name, "no name");
        return true;
    };
    callbacks.ReadWholeFile = [](std::vector<unsigned char>* bytes, std::string* why, const std::string& name,
                                 void* self) {
        return static_cast<ExternalFiles*>(self)->read(name, *bytes, *why);
    };
    return callbacks;
}

void ExternalFiles::add_stand_in(const std::string& uri, std::uint64_t size) {
    const std::string name = percent_decoded(uri);
    if (m_missing.count(name) == 0) {
        std::string why;
        const auto path = locate(name, why);
        if (path && is_regular_file(*path, why)) return;
        note_missing(name, why);
    }
    m_context.take_decoded(size, 1, uri);
    m_stand_ins[name] = size;
}

bool ExternalFiles::is_stand_in(const std::string& uri) const {
    return !m_stand_ins.empty() && m_stand_ins.count(percent_decoded(uri)) != 0;
}

void ExternalFiles::report_missing() {
    for (auto& [name, missing] : m_missing) {
        if (std::exchange(missing.reported, true)) continue;
        m_context.missing(MissingKind::external_file, name,
                          std::string(name).append(": ").append(missing.why));
    }
}

std::optional<fs::path> ExternalFiles::locate(const std::string& name, std::string& why) const {
    auto path = name.find("://") == std::string::npos ? m_context.neighbour(name) : std::nullopt;
    if (!path) why = "not named relative to the scene";
    return path;
}

bool ExternalFiles::read(const std::string& name, std::vector<unsigned char>& bytes, std::string& why) {
    if (const auto stand_in = m_stand_ins.find(name); stand_in != m_stand_ins.end()) {
        bytes.assign(stand_in->second, 0);
        return true;
    }
    const auto path = locate(name, why);
    auto content = path ? read_file(*path, why) : std::nullopt;
    if (!content) {
        note_missing(name, why);
        return false;
    }
    m_context.note_read(content->size());
    bytes = std::move(*content);
    return true;
}

}  // namespace corrivane::host
