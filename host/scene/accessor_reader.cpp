#include "scene/accessor_reader.h"

#include "json/shortened.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <string_view>
#include <utility>

namespace corrivane::host {

namespace {

enum ComponentType {
    type_byte = 5120,
    type_unsigned_byte = 5121,
    type_short = 5122,
    type_unsigned_short = 5123,
    type_unsigned_int = 5125,
    type_float = 5126,
};

/// Bytes of a component, 0 for a type that glTF does not have.
std::uint64_t size_of_component(int type) {
    switch (type) {
        case type_byte:
        case type_unsigned_byte:
            return 1;
        case type_short:
        case type_unsigned_short:
            return 2;
        case type_unsigned_int:
        case type_float:
            return 4;
        default:
            return 0;
    }
}

constexpr std::array<std::pair<std::string_view, int>, 7> element_types{
    {{"SCALAR", 1}, {"VEC2", 2}, {"VEC3", 3}, {"VEC4", 4}, {"MAT2", 4}, {"MAT3", 9}, {"MAT4", 16}}};

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
        case type_byte:
            return load_integer<std::int8_t>(bytes, normalized);
        case type_unsigned_byte:
            return load_integer<std::uint8_t>(bytes, normalized);
        case type_short:
            return load_integer<std::int16_t>(bytes, normalized);
        case type_unsigned_short:
            return load_integer<std::uint16_t>(bytes, normalized);
        case type_unsigned_int:
            return load_integer<std::uint32_t>(bytes, normalized);
        default:
            return load<float>(bytes);
    }
}

bool is_index_type(int type) {
    return type == type_unsigned_byte || type == type_unsigned_short || type == type_unsigned_int;
}

std::uint32_t load_index(const unsigned char* bytes, int type) {
    switch (type) {
        case type_unsigned_byte:
            return load<std::uint8_t>(bytes);
        case type_unsigned_short:
            return load<std::uint16_t>(bytes);
        default:
            return load<std::uint32_t>(bytes);
    }
}

std::uint64_t offset_of(const json::Value& part) {
    const auto offset = part.find("byteOffset");
    return offset ? offset->size() : 0;
}

int component_type_of(const json::Value& part) {
    return static_cast<int>(part.at("componentType").whole(0, 1'000'000));
}

}  // namespace

/// The elements that a sparse accessor replaces, and by what.
struct AccessorReader::Sparse {
    std::vector<std::uint32_t> places;  ///< increasing, below the accessor's count
    const unsigned char* values = nullptr;
};

void AccessorReader::fail(const Accessor& accessor, const json::Value& user, const std::string& what) {
    throw json::Error(user.path(), " " + accessor.name + what);
}

const AccessorReader::Accessor& AccessorReader::at(const json::Value& user) {
    const std::size_t index = m_accessors.index(user, user);
    const auto found = m_read.find(index);
    return found != m_read.end() ? found->second : m_read.emplace(index, read(index)).first->second;
}

AccessorReader::Accessor AccessorReader::read(std::size_t index) {
    const json::Value part = m_accessors[index];
    Accessor accessor{part, "accessor " + std::to_string(index)};
    accessor.count = part.at("count").size();
    accessor.offset = offset_of(part);
    accessor.component_type = component_type_of(part);
    accessor.component_size = size_of_component(accessor.component_type);
    if (accessor.component_size == 0) {
        part.fail("no component type " + std::to_string(accessor.component_type));
    }
    const std::string_view type = part.at("type").text();
    const auto found = std::ranges::find(element_types, type, [](const auto& entry) { return entry.first; });
    if (found == element_types.end()) part.fail("no type \"" + json::shortened(type) + "\"");
    accessor.components = found->second;
    accessor.is_matrix = type.starts_with("MAT");
    if (const auto normalized = part.find("normalized")) accessor.normalized = normalized->boolean();
    return accessor;
}

bool AccessorReader::is_missing(const json::Value& user) {
    const json::Value part = at(user).part;
    const auto lost = [this](const json::Value& object) {
        const auto view = m_buffers.find_view(object, "bufferView");
        return view && !view->bytes;
    };
    if (lost(part)) return true;
    const auto sparse = part.find("sparse");
    return sparse && (lost(sparse->at("indices")) || lost(sparse->at("values")));
}

AccessorReader::Elements AccessorReader::elements_of(const Accessor& accessor, const json::Value& user) {
    const std::uint64_t element = accessor.component_size * static_cast<std::uint64_t>(accessor.components);
    if (accessor.count == 0) fail(accessor, user, " has no elements");
    const auto view = m_buffers.find_view(accessor.part, "bufferView");
    if (!view) return {};
    if (!view->bytes) fail(accessor, user, ": its buffer is missing");
    const std::uint64_t stride = view->stride == 0 ? element : view->stride;
    if (stride < element) fail(accessor, user, ": its buffer view's stride is less than an element");
    const std::uint64_t size = view->bytes->size;
    if (accessor.offset > size || element > size - accessor.offset ||
        accessor.count - 1 > (size - accessor.offset - element) / stride) {
        fail(accessor, user, " reaches past its buffer view");
    }
    return {view->bytes->data + accessor.offset, stride};
}

const AccessorReader::Accessor& AccessorReader::checked(const json::Value& user, int components) {
    const Accessor& accessor = at(user);
    if (accessor.components != components || accessor.is_matrix) {
        fail(accessor, user, " should have " + std::to_string(components) + " components");
    }
    elements_of(accessor, user);
    m_context.take(accessor.count, static_cast<std::uint64_t>(components) * sizeof(float), user);
    return accessor;
}

void AccessorReader::read_floats(const Accessor& accessor, const json::Value& user, float* values) {
    const Elements elements = elements_of(accessor, user);
    const auto width = static_cast<std::uint64_t>(accessor.components);
    const auto copy = [&](const unsigned char* bytes, float* to) {
        if (accessor.component_type == type_float) {
            std::memcpy(to, bytes, width * sizeof(float));
            return;
        }
        for (std::uint64_t c = 0; c < width; ++c) {
            to[c] =
                load_float(bytes + c * accessor.component_size, accessor.component_type, accessor.normalized);
        }
    };
    for (std::uint64_t i = 0; elements.bytes != nullptr && i < accessor.count; ++i)
        copy(elements.bytes + i * elements.stride, values + i * width);
    if (const auto sparse = sparse_of(accessor, user)) {
        for (std::size_t i = 0; i < sparse->places.size(); ++i) {
            copy(sparse->values + i * width * accessor.component_size, values + sparse->places[i] * width);
        }
    }
    for (std::uint64_t i = 0; i < accessor.count * width; ++i) {
        if (!std::isfinite(values[i])) {
            fail(accessor, user, ": element " + std::to_string(i / width) + " is not finite");
        }
    }
}

std::vector<std::uint32_t> AccessorReader::indices(const json::Value& user, std::uint64_t limit) {
    const Accessor& accessor = at(user);
    if (accessor.components != 1 || !is_index_type(accessor.component_type)) {
        fail(accessor, user, " should hold unsigned integers");
    }
    const Elements elements = elements_of(accessor, user);
    m_context.take(accessor.count, sizeof(std::uint32_t), user);
    std::vector<std::uint32_t> values(accessor.count, 0);
    for (std::uint64_t i = 0; elements.bytes != nullptr && i < accessor.count; ++i)
        values[i] = load_index(elements.bytes + i * elements.stride, accessor.component_type);
    if (const auto sparse = sparse_of(accessor, user)) {
        for (std::size_t i = 0; i < sparse->places.size(); ++i) {
            values[sparse->places[i]] =
                load_index(sparse->values + i * accessor.component_size, accessor.component_type);
        }
    }
    const auto beyond = std::ranges::find_if(values, [limit](std::uint32_t value) { return value >= limit; });
    if (beyond != values.end()) {
        fail(accessor, user,
             ": element " + std::to_string(beyond - values.begin()) + " (" + std::to_string(*beyond) +
                 ") is past the " + std::to_string(limit) + " there are");
    }
    return values;
}

AccessorReader::Elements AccessorReader::sparse_bytes(const json::Value& part, std::uint64_t size,
                                                      const char* name, const Accessor& accessor,
                                                      const json::Value& user) {
    const auto view = m_buffers.find_view(part, "bufferView");
    if (!view) fail(accessor, user, std::string(": ") + name + " lacks a buffer view");
    const std::uint64_t offset = offset_of(part);
    if (!view->bytes || offset > view->bytes->size || size > view->bytes->size - offset) {
        fail(accessor, user, std::string(": ") + name + " reaches past its buffer view");
    }
    return {view->bytes->data + offset, 0};
}

std::optional<AccessorReader::Sparse> AccessorReader::sparse_of(const Accessor& accessor,
                                                                const json::Value& user) {
    const auto part = accessor.part.find("sparse");
    if (!part) return std::nullopt;
    const std::uint64_t count = part->at("count").size();
    if (count < 1 || count > accessor.count) fail(accessor, user, ": sparse.count does not fit the accessor");
    const json::Value indices = part->at("indices");
    const int type = component_type_of(indices);
    if (!is_index_type(type)) fail(accessor, user, ": sparse.indices should be unsigned integers");
    const std::uint64_t size = size_of_component(type);
    const Elements bytes = sparse_bytes(indices, count * size, "sparse.indices", accessor, user);
    m_context.take(count, sizeof(std::uint32_t), user);
    Sparse sparse;
    sparse.places.reserve(count);
    for (std::uint64_t i = 0; i < count; ++i) {
        const std::uint32_t place = load_index(bytes.bytes + i * size, type);
        if (place >= accessor.count || (i > 0 && place <= sparse.places.back())) {
            fail(accessor, user, ": sparse.indices must increase and stay below the count");
        }
        sparse.places.push_back(place);
    }
    const std::uint64_t element = accessor.component_size * static_cast<std::uint64_t>(accessor.components);
    sparse.values = sparse_bytes(part->at("values"), count * element, "sparse.values", accessor, user).bytes;
    return sparse;
}

}  // namespace corrivane::host
