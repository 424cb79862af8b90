#pragma once

#include "scene/load_context.h"

#include <tiny_gltf.h>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace corrivane::host {

/// A regular file's bytes; nothing when it is not there, is no regular file (reading a pipe would hang),
/// cannot be read, or is larger than limits::file_bytes. `why` then says so in words.
std::optional<std::vector<unsigned char>> read_file(const std::filesystem::path& file, std::string& why);

/// The files that a document names, given to tinygltf through its file callbacks: relative to the document,
/// and no other addresses. What is not there is noted, so that the caller's policy can be asked afterwards.
class ExternalFiles {
public:
    explicit ExternalFiles(LoadContext& context) : m_context(context) {}

    /// The callbacks point to this object, which must outlive the parse.
    tinygltf::FsCallbacks callbacks();

    /// What tinygltf asked for in vain, with the reason: "none.bin: not there".
    const std::map<std::string, std::string>& missing() const { return m_missing; }
    void forget_missing() { m_missing.clear(); }

    /// From now on that many zeros stand for the file of that URI if it is not there.
    void add_stand_in(const std::string& uri, std::uint64_t size);
    bool is_stand_in(const std::string& uri) const;

private:
    bool is_there(const std::string& name);
    bool read(const std::string& name, std::vector<unsigned char>& bytes, std::string& why);
    /// Nothing for absolute paths and web addresses.
    std::optional<std::filesystem::path> locate(const std::string& name) const;

    LoadContext& m_context;
    std::map<std::string, std::string> m_missing;
    std::map<std::string, std::uint64_t> m_stand_ins;
};

}  // namespace corrivane::host
