#pragma once

#include "json/document.h"
#include "json/value.h"
#include "scene/byte_range.h"
#include "scene/load_context.h"

#include <optional>
#include <string_view>
#include <vector>

namespace corrivane::host {

/// A list of a document's parts, which other parts name by their index.
class PartList {
public:
    /// `part` as messages call one: "mesh". Without a list there are no parts.
    PartList(std::optional<json::Value> list, const char* part);

    std::size_t size() const { return m_parts.size(); }
    json::Value operator[](std::size_t index) const { return m_parts[index]; }

    /// The index that `number` is. `user` is blamed when there is no such part: "node 2: there is no mesh 3".
    std::size_t index(const json::Value& number, const json::Value& user) const;
    /// The index in that member of `user`; nothing when there is no such member.
    std::optional<std::size_t> find(const json::Value& user, std::string_view key) const;
    /// As find(), but the member must be there.
    std::size_t at(const json::Value& user, std::string_view key) const { return index(user.at(key), user); }

private:
    json::ElementTable m_parts;
    const char* m_part;
};

/// A glTF file as JSON, its lists of parts, and the bytes that a binary file carries along. Nothing in the parts
/// is checked yet: each is when something needs it, and what nothing needs is not even looked at.
class GltfDocument {
public:
    /// Reads the file. Throws SceneError or json::Error when it is no glTF 2.0 document, and MissingResource as
    /// the policy says for the extensions that it requires.
    explicit GltfDocument(LoadContext& context);
    ~GltfDocument();
    GltfDocument(const GltfDocument&) = delete;
    GltfDocument& operator=(const GltfDocument&) = delete;

    json::Value root() const { return m_json->root(); }
    /// The binary chunk of a .glb.
    const std::optional<ByteRange>& binary_chunk() const { return m_binary_chunk; }
    /// The document's list of that name, "meshes", of which one is a `part`, "mesh".
    PartList list(std::string_view name, const char* part) const { return {root().find(name), part}; }

private:
    void parse(std::string_view text);
    void check_version() const;
    void check_extensions() const;

    LoadContext& m_context;
    std::vector<unsigned char> m_file;  ///< of a binary file alone
    std::optional<ByteRange> m_binary_chunk;
    std::optional<json::Document> m_json;
    std::uint64_t m_held = 0;
};

/// Whether asset.version says glTF 2.x.
bool is_version_2(std::string_view version);

/// What an extension says about a part, if it says something.
std::optional<json::Value> find_extension(const json::Value& part, std::string_view extension);

}  // namespace corrivane::host
