#include "scene/accessor_reader.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace corrivane::host {

namespace {

/// Bytes of a component, 0 for a type that glTF does not have.
std::uint64_t component_size(int type) {
    switch (type) {
        case TINYGLTF_COMPONENT_TYPE_BYTE:
        case TINYGLTF_COMPONENT_TYPE_UNSIGNED_BYTE:
            return 1;
        case TINYGLTF_COMPONENT_TYPE_SHORT:
        case TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT:
            return 2;
        case TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT:
        case TINYGLTF_COMPONENT_TYPE_FLOAT:
            return 4;
        default:
            return 0;
    }
}

/// Buffer views give no alignment that could be relied on.
template <typename T>
T load(const unsigned char* bytes) {
    T value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

template <typename T>
float load_integer(const unsigned char* bytes, bool normalized) {
    const auto value = static_cast<float>(load<T>(bytes));
    if (!normalized) return value;
    return std::max(value / static_cast<float>(std::numeric_limits<T>::max()), -1.0f);
}

float load_float(const unsigned char* bytes, int type, bool normalized) {
    switch (type) {
        case TINYGLTF_COMPONENT_TYPE_BYTE:
            return load_integer<std::int8_t>(bytes, normalized);
        case TINYGLTF_COMPONENT_TYPE_UNSIGNED_BYTE:
            return load_integer<std::uint8_t>(bytes, normalized);
        case TINYGLTF_COMPONENT_TYPE_SHORT:
            return load_integer<std::int16_t>(bytes, normalized);
        case TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT:
            return load_integer<std::uint16_t>(bytes, normalized);
        case TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT:
            return load_integer<std::uint32_t>(bytes, normalized);
        default:
            return load<float>(bytes);
    }
}

bool is_index_type(int type) {
    return type == TINYGLTF_COMPONENT_TYPE_UNSIGNED_BYTE || type == TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT ||
           type == TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT;
}

/// A 2x2 matrix has as many components as a VEC4.
bool is_matrix(int type) {
    return type == TINYGLTF_TYPE_MAT2 || type == TINYGLTF_TYPE_MAT3 || type == TINYGLTF_TYPE_MAT4;
}

std::uint32_t load_index(const unsigned char* bytes, int type) {
    switch (type) {
        case TINYGLTF_COMPONENT_TYPE_UNSIGNED_BYTE:
            return load<std::uint8_t>(bytes);
        case TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT:
            return load<std::uint16_t>(bytes);
        default:
            return load<std::uint32_t>(bytes);
    }
}

/// "accessor 7": how messages name an accessor that is known to be in the model.
std::string name_of(const tinygltf::Model& model, const tinygltf::Accessor& accessor) {
    return numbered("accessor", static_cast<std::size_t>(&accessor - model.accessors.data()));
}

}  // namespace

/// Where the elements of an accessor lie. Without a buffer view, bytes is null: all zeros.
struct AccessorReader::Layout {
    const unsigned char* bytes = nullptr;
    std::uint64_t stride = 0;
    std::uint64_t component = 0;
};

const tinygltf::Accessor& AccessorReader::at(int accessor, const std::string& who) const {
    return m_model.accessors[m_context.index(accessor, m_model.accessors.size(), "accessor", who)];
}

std::uint64_t AccessorReader::count(int accessor, const std::string& who) const {
    return at(accessor, who).count;
}

int AccessorReader::components(int accessor, const std::string& who) const {
    return tinygltf::GetNumComponentsInType(static_cast<std::uint32_t>(at(accessor, who).type));
}

bool AccessorReader::is_view_missing(int view) const {
    if (view < 0 || static_cast<std::size_t>(view) >= m_model.bufferViews.size()) return false;
    const int buffer = m_model.bufferViews[static_cast<std::size_t>(view)].buffer;
    return buffer >= 0 && static_cast<std::size_t>(buffer) < m_document.buffer_missing.size() &&
           m_document.buffer_missing[static_cast<std::size_t>(buffer)];
}

bool AccessorReader::is_missing(int accessor, const std::string& who) const {
    const tinygltf::Accessor& found = at(accessor, who);
    if (is_view_missing(found.bufferView)) return true;
    return found.sparse.isSparse && (is_view_missing(found.sparse.indices.bufferView) ||
                                     is_view_missing(found.sparse.values.bufferView));
}

ByteRange AccessorReader::view_bytes(int view, const std::string& who) const {
    const std::string name = who + ": " + numbered("buffer view", static_cast<std::size_t>(view));
    const tinygltf::BufferView& found =
        m_model.bufferViews[m_context.index(view, m_model.bufferViews.size(), "buffer view", who)];
    const std::vector<unsigned char>& data =
        m_model.buffers[m_context.index(found.buffer, m_model.buffers.size(), "buffer", name)].data;
    if (found.byteOffset > data.size() || found.byteLength > data.size() - found.byteOffset) {
        m_context.fail(name + " reaches past its buffer");
    }
    return {data.data() + found.byteOffset, found.byteLength};
}

ByteRange AccessorReader::part_of_view(int view, std::uint64_t offset, std::uint64_t size,
                                       const std::string& who) const {
    const ByteRange whole = view_bytes(view, who);
    if (offset > whole.size || size > whole.size - offset) {
        m_context.fail(who + " reaches past its buffer view");
    }
    return {whole.data + offset, size};
}

AccessorReader::Layout AccessorReader::layout_of(const tinygltf::Accessor& accessor,
                                                 const std::string& who) const {
    Layout layout;
    layout.component = component_size(accessor.componentType);
    if (layout.component == 0) {
        m_context.fail(who + ": no component type " + std::to_string(accessor.componentType));
    }
    const std::uint64_t element =
        layout.component * static_cast<std::uint64_t>(
                               tinygltf::GetNumComponentsInType(static_cast<std::uint32_t>(accessor.type)));
    if (accessor.count == 0) m_context.fail(who + " has no elements");
    if (accessor.bufferView == -1) return layout;

    const ByteRange view = view_bytes(accessor.bufferView, who);
    const std::uint64_t stride =
        m_model.bufferViews[static_cast<std::size_t>(accessor.bufferView)].byteStride;
    layout.stride = stride == 0 ? element : stride;
    if (layout.stride < element) m_context.fail(who + ": its buffer view's stride is less than an element");
    if (accessor.byteOffset > view.size || element > view.size - accessor.byteOffset ||
        accessor.count - 1 > (view.size - accessor.byteOffset - element) / layout.stride) {
        m_context.fail(who + " reaches past its buffer view");
    }
    layout.bytes = view.data + accessor.byteOffset;
    return layout;
}

std::vector<float> AccessorReader::floats(int index, int width, const std::string& who) {
    const tinygltf::Accessor& accessor = at(index, who);
    const std::string name = who + " " + name_of(m_model, accessor);
    if (components(index, who) != width || is_matrix(accessor.type)) {
        m_context.fail(name + " should have " + std::to_string(width) + " components");
    }
    const Layout layout = layout_of(accessor, name);
    const auto per_element = static_cast<std::uint64_t>(width);
    m_context.take_decoded(accessor.count, per_element * sizeof(float), name);

    std::vector<float> values(accessor.count * per_element, 0.0f);
    for (std::uint64_t i = 0; layout.bytes != nullptr && i < accessor.count; ++i) {
        for (std::uint64_t c = 0; c < per_element; ++c) {
            values[i * per_element + c] = load_float(layout.bytes + i * layout.stride + c * layout.component,
                                                     accessor.componentType, accessor.normalized);
        }
    }
    if (accessor.sparse.isSparse) apply_sparse(accessor, width, values, name);
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (!std::isfinite(values[i])) {
            m_context.fail(name + ": element " + std::to_string(i / per_element) + " is not finite");
        }
    }
    return values;
}

std::vector<std::uint32_t> AccessorReader::indices(int index, std::uint64_t limit, const std::string& who) {
    const tinygltf::Accessor& accessor = at(index, who);
    const std::string name = who + " " + name_of(m_model, accessor);
    if (accessor.type != TINYGLTF_TYPE_SCALAR || !is_index_type(accessor.componentType)) {
        m_context.fail(name + " should hold unsigned integers");
    }
    if (accessor.sparse.isSparse) m_context.fail(name + ": sparse indices are not supported");
    const Layout layout = layout_of(accessor, name);
    m_context.take_decoded(accessor.count, sizeof(std::uint32_t), name);

    std::vector<std::uint32_t> values(accessor.count, 0);
    for (std::uint64_t i = 0; i < accessor.count; ++i) {
        if (layout.bytes != nullptr) {
            values[i] = load_index(layout.bytes + i * layout.stride, accessor.componentType);
        }
        if (values[i] >= limit) {
            m_context.fail(name + ": element " + std::to_string(i) + " (" + std::to_string(values[i]) +
                           ") is past the " + std::to_string(limit) + " there are");
        }
    }
    return values;
}

/// Which elements a sparse accessor replaces: as many as it says, increasing, and below its count.
std::vector<std::uint32_t> AccessorReader::sparse_places(const tinygltf::Accessor& accessor,
                                                         const std::string& who) const {
    const auto& sparse = accessor.sparse;
    if (sparse.count < 1 || static_cast<std::uint64_t>(sparse.count) > accessor.count) {
        m_context.fail(who + ": sparse.count does not fit the accessor");
    }
    if (!is_index_type(sparse.indices.componentType) || sparse.indices.byteOffset < 0) {
        m_context.fail(who + ": sparse.indices should be unsigned integers");
    }
    const std::uint64_t size = component_size(sparse.indices.componentType);
    const auto count = static_cast<std::uint64_t>(sparse.count);
    const ByteRange bytes = part_of_view(sparse.indices.bufferView, std::uint64_t(sparse.indices.byteOffset),
                                         count * size, who + ": sparse.indices");
    std::vector<std::uint32_t> places;
    for (std::uint64_t i = 0; i < count; ++i) {
        const std::uint32_t place = load_index(bytes.data + i * size, sparse.indices.componentType);
        if (place >= accessor.count || (i > 0 && place <= places.back())) {
            m_context.fail(who + ": sparse.indices must increase and stay below the count");
        }
        places.push_back(place);
    }
    return places;
}

void AccessorReader::apply_sparse(const tinygltf::Accessor& accessor, int width, std::span<float> values,
                                  const std::string& who) const {
    const std::vector<std::uint32_t> places = sparse_places(accessor, who);
    if (accessor.sparse.values.byteOffset < 0) m_context.fail(who + ": sparse.values has a negative offset");
    const std::uint64_t component = component_size(accessor.componentType);
    const auto per_element = static_cast<std::uint64_t>(width);
    const ByteRange bytes =
        part_of_view(accessor.sparse.values.bufferView, std::uint64_t(accessor.sparse.values.byteOffset),
                     places.size() * per_element * component, who + ": sparse.values");
    for (std::uint64_t i = 0; i < places.size() * per_element; ++i) {
        values[places[i / per_element] * per_element + i % per_element] =
            load_float(bytes.data + i * component, accessor.componentType, accessor.normalized);
    }
}

}  // namespace corrivane::host
