#pragma once

#include "scene/load_context.h"

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace corrivane::host {

/// Whether there is a regular file; if not, `why` says so in words.
bool is_regular_file(const std::filesystem::path& file, std::string& why);

/// A regular file's bytes; nothing when it is not there, is no regular file (reading a pipe would hang),
/// cannot be read, or is larger than limits::file_bytes. `why` then says so in words.
std::optional<std::vector<unsigned char>> read_file(const std::filesystem::path& file, std::string& why);

/// What the uris in a document stand for: files relative to the document, and no other addresses, or the data that
/// a data: URI holds itself. What is not there is reported to the context, once each.
class ExternalFiles {
public:
    using Bytes = std::shared_ptr<const std::vector<unsigned char>>;

    explicit ExternalFiles(LoadContext& context) : m_context(context) {}

    /// Null when the file is missing and the caller's policy is to go on. A file that is still in use is not
    /// read twice. Throws json::Error for a broken data: URI, MissingResource as the policy says.
    Bytes read(const json::Value& uri);
    /// What the uri names, percent signs decoded; empty for data.
    static std::string name_of(const json::Value& uri);

private:
    Bytes read_data(const json::Value& uri);
    Bytes read_named(const json::Value& uri);
    /// Counts the bytes as held until the last user lets go.
    Bytes hold(std::vector<unsigned char> bytes);
    /// Nothing for absolute paths and web addresses; `why` then says so.
    std::optional<std::filesystem::path> locate(const std::string& name, std::string& why) const;

    struct File {
        std::weak_ptr<const std::vector<unsigned char>> bytes;
        bool missing = false;
    };

    LoadContext& m_context;
    std::map<std::string, File> m_files;  ///< by the name as the scene gives it, percent signs decoded
};

}  // namespace corrivane::host
