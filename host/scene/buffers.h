#pragma once

#include "scene/external_files.h"
#include "scene/gltf_document.h"

#include <cstdint>
#include <optional>
#include <unordered_map>

namespace corrivane::host {

/// The bytes of a buffer view, and how far its elements lie apart.
struct BufferView {
    std::optional<ByteRange> bytes;  ///< nothing: its buffer's file is missing
    std::uint64_t stride = 0;        ///< 0: as long as an element
};

/// Reads the buffers that something uses, once each, with every range checked.
class Buffers {
public:
    Buffers(const GltfDocument& document, ExternalFiles& files)
        : m_document(document),
          m_files(files),
          m_buffers(document.list("buffers", "buffer")),
          m_views(document.list("bufferViews", "buffer view")) {}

    /// The view in that member of `user`; nothing when there is no such member.
    std::optional<BufferView> find_view(const json::Value& user, std::string_view key);

private:
    struct Buffer {
        ExternalFiles::Bytes owned;
        std::optional<ByteRange> bytes;
    };

    BufferView read_view(const json::Value& view);
    const std::optional<ByteRange>& buffer(std::size_t index);
    Buffer read_buffer(std::size_t index);

    const GltfDocument& m_document;
    ExternalFiles& m_files;
    PartList m_buffers;
    PartList m_views;
    std::unordered_map<std::size_t, Buffer> m_read_buffers;
    std::unordered_map<std::size_t, BufferView> m_read_views;
};

}  // namespace corrivane::host
