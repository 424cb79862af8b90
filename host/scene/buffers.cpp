#include "scene/buffers.h"

namespace corrivane::host {

namespace {

std::uint64_t size_or(const json::Value& object, std::string_view key, std::uint64_t fallback) {
    const auto value = object.find(key);
    return value ? value->size() : fallback;
}

}  // namespace

std::optional<BufferView> Buffers::find_view(const json::Value& user, std::string_view key) {
    const auto index = m_views.find(user, key);
    if (!index) return std::nullopt;
    const auto found = m_read_views.find(*index);
    if (found != m_read_views.end()) return found->second;
    return m_read_views.emplace(*index, read_view(m_views[*index])).first->second;
}

BufferView Buffers::read_view(const json::Value& view) {
    const std::optional<ByteRange>& whole = buffer(m_buffers.at(view, "buffer"));
    const std::uint64_t offset = size_or(view, "byteOffset", 0);
    const std::uint64_t length = view.at("byteLength").size();
    BufferView result;
    result.stride = size_or(view, "byteStride", 0);
    if (!whole) return result;
    if (offset > whole->size || length > whole->size - offset) {
        throw json::Error(view.path(), " reaches past its buffer");
    }
    result.bytes = ByteRange{whole->data + offset, length};
    return result;
}

const std::optional<ByteRange>& Buffers::buffer(std::size_t index) {
    const auto found = m_read_buffers.find(index);
    if (found != m_read_buffers.end()) return found->second.bytes;
    return m_read_buffers.emplace(index, read_buffer(index)).first->second.bytes;
}

Buffers::Buffer Buffers::read_buffer(std::size_t index) {
    const json::Value part = m_buffers[index];
    const std::uint64_t length = part.at("byteLength").size();
    Buffer buffer;
    if (const auto uri = part.find("uri")) {
        buffer.owned = m_files.read(*uri);
        if (buffer.owned != nullptr) buffer.bytes = ByteRange{buffer.owned->data(), buffer.owned->size()};
    } else if (index == 0 && m_document.binary_chunk()) {
        buffer.bytes = m_document.binary_chunk();
    } else {
        part.fail("there is no data for it");
    }
    if (!buffer.bytes) return buffer;
    if (length > buffer.bytes->size) {
        throw json::Error(part.path(), " should have " + std::to_string(length) + " bytes, and there are " +
                                           std::to_string(buffer.bytes->size));
    }
    buffer.bytes->size = length;
    return buffer;
}

}  // namespace corrivane::host
