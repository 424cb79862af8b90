#pragma once

#include "scene/load_context.h"

#include <tiny_gltf.h>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace corrivane::host {

/// Whether there is a regular file; if not, `why` says so in words.
bool is_regular_file(const std::filesystem::path& file, std::string& why);

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

    bool any_missing() const { return !m_missing.empty(); }
    /// Gives what is missing to the context, once each, with the reason: "none.bin: not there". Throws
    /// MissingResource as the policy says.
    void report_missing();

    /// From now on that many zeros stand for the file of that URI if it is missing.
    void add_stand_in(const std::string& uri, std::uint64_t size);
    bool is_stand_in(const std::string& uri) const;

private:
    struct Missing {
        std::string why;
        bool reported = false;
    };

    bool read(const std::string& name, std::vector<unsigned char>& bytes, std::string& why);
    void note_missing(const std::string& name, const std::string& why) {
        m_missing.try_emplace(name, Missing{why});
    }
    /// Nothing for absolute paths and web addresses; `why` then says so.
    std::optional<std::filesystem::path> locate(const std::string& name, std::string& why) const;

    LoadContext& m_context;
    // By the name as the scene gives it, percent signs decoded.
    std::map<std::string, Missing> m_missing;
    std::map<std::string, std::uint64_t> m_stand_ins;
};

}  // namespace corrivane::host
